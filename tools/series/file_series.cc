#include "series/file_series.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "metrics/store/metrics_feed.h"
#include "scan/data_file_scan.h"
#include "utils/log.h"

namespace vrn::series {
namespace {

using scan::FaultKind;
using scan::Next;

template <std::size_t Size>
std::string text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

// What the fault means for the file; empty when nothing is lost by it.
std::string loss_of(const scan::Fault &fault) {
    switch (fault.kind) {
        case FaultKind::header_cut:
            return "holds no data file header";
        case FaultKind::header_bad:
            return "is no data file";
        case FaultKind::block_size_bad:
            return "has a block size out of range";
        case FaultKind::schemas_missing:
            return "names schemas that can't be loaded";
        case FaultKind::read_failed:
            return std::string("can't be read to its end: ") + fault.reason;
        case FaultKind::no_memory:
            return fault.reason;
        case FaultKind::page_cut:
        case FaultKind::page_damaged:
            return "holds a damaged page";
        case FaultKind::tail_short:
        case FaultKind::block_unknown:
            return "holds a block of unknown type";
        case FaultKind::schemas_block_bad:
            return "holds a damaged schemas block";
        case FaultKind::schema_none:
        case FaultKind::type_unknown:
            return "holds events or counters without a schema";
        default:
            return "";
    }
}

bool fail(const std::string &path, const std::string &what) {
    VRN_LOG(VRN_LOG_ERROR, "%s: %s", path.c_str(), what.c_str());
    return false;
}

// Tells of a file that couldn't even be begun.
std::string head_loss(const ByteSource &source) {
    const bool failed = source.state() == ByteSource::State::failed &&
                        source.position() < sizeof(vrn_data_file_header_t);
    return failed ? std::string("can't be read: ") + source.error_text() : "";
}

}  // namespace

FileSeries::FileSeries(const SeriesOptions &options, const vrn_metadata_t *metadata,
                       metrics::MetricsHistory *store)
    : options_(options), metadata_(metadata), store_(store) {}

void FileSeries::use_store(metrics::MetricsHistory *store) {
    store_ = store;
    // They hold ids of the old store, which mean nothing in another.
    plans_by_schemas_.clear();
}

std::string FileSeries::take_loss() {
    return std::exchange(loss_, "");
}

// The first one is told: others may follow from it.
void FileSeries::note_loss(const std::string &loss) {
    if (loss_.empty()) loss_ = loss;
}

void FileSeries::header(const vrn_data_file_header_t &header) {
    file_source_ = text_of(header.source_id);
    is_cut_short_ = false;
}

void FileSeries::schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) {
    schemas_ = schemas;
    // As many as a SchemaCache keeps: a file may name others in each of its blocks.
    if (plans_by_schemas_.size() > scan::SchemaCache::max_kept) plans_by_schemas_.clear();
}

scan::PageUse FileSeries::page(const scan::CompressedPage &page) {
    page_source_ = text_of(page.source().source);
    return scan::PageUse::blocks;
}

const std::string &FileSeries::source_of(const scan::Place &place) const {
    return place.is_in_page && !page_source_.empty() ? page_source_ : file_source_;
}

Next FileSeries::events(const scan::EventBatch &batch) {
    if (batch.count < batch.header.num_events) note_loss("holds events that are cut off");
    if (batch.count == 0) return Next::block;
    auto &events = plans().events;
    auto known = events.find(batch.type);
    if (known == events.end())
        known = events.emplace(batch.type, EventSeries(*batch.type, options_.label_fields, store_))
                    .first;
    known->second.store(batch, source_of(batch.place()));
    if (!known->second.takes_all_numbers())
        loss_ =
            std::string("not all numbers of its events '") + batch.type->name + "' could be taken";
    return Next::block;
}

Next FileSeries::counters(const scan::CountersBlock &block) {
    if (block.held < block.schema->size) {
        // A curve that falls to zeros would show what never was.
        note_loss("holds counters that are cut off");
        return Next::block;
    }
    auto &counters = plans().counters;
    auto known = counters.find(block.schema);
    if (known == counters.end())
        known =
            counters.emplace(block.schema, CounterSeries(*block.schema, metadata_, store_)).first;
    known->second.store(block, source_of(block.place));
    if (!known->second.takes_all_numbers()) note_loss("not all of its counters could be taken");
    return Next::block;
}

Next FileSeries::metrics(const scan::PlainBlock &block) {
    const metrics::FeedResult result = metrics::feed_cntx_blocks(block.bytes, nullptr, store_);
    if (result.blocks == 0 || result.incomplete != 0)
        note_loss("not all of its metrics could be taken");
    return Next::block;
}

Next FileSeries::fault(const scan::Fault &fault) {
    is_cut_short_ |= fault.kind == FaultKind::stream_cut;
    const std::string loss = loss_of(fault);
    // The end of such a stream cuts what stands there.
    const bool is_end = is_cut_short_ && fault.kind == FaultKind::page_cut;
    if (!is_end) note_loss(loss);
    // After these no block can be found; other faults leave the pages that follow.
    const bool ends = fault.kind == FaultKind::header_cut || fault.kind == FaultKind::header_bad ||
                      fault.kind == FaultKind::block_size_bad ||
                      fault.kind == FaultKind::read_failed;
    return ends ? Next::nothing : Next::page;
}

bool store_file(const std::string &path, const SeriesOptions &options, SchemaFolders *folders,
                metrics::MetricsHistory *store) {
    const auto source = ByteSource::open_path(path.c_str());
    if (!source) return fail(path, std::string("can't be opened: ") + std::strerror(errno));
    SchemaFolder *folder = folders->of_file(path);
    FileSeries series(options, folder->metadata.get(), store);
    scan::PageBuffer buffer;
    try {
        scan::DataFileScan(source.get(), &folder->schemas, &buffer, &series).run();
    } catch (const metrics::StoreFull &) {
        return fail(path,
                    "holds more series than there is room for; fewer samples of each leave more "
                    "room");
    }
    if (source->state() == ByteSource::State::cut_short)
        VRN_LOG(VRN_LOG_WARNING, "Data file %s is cut short: its gzip stream has no end",
                path.c_str());
    // The cause says more than the missing header that it led to.
    const std::string unread = head_loss(*source);
    const std::string loss = unread.empty() ? series.take_loss() : unread;
    return loss.empty() || fail(path, loss);
}

}  // namespace vrn::series
