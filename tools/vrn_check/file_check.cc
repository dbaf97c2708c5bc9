#include "vrn_check/file_check.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "common/fault_kind.h"
#include "data/magic.h"
#include "scan/block_walk.h"
#include "scan/data_file_scan.h"
#include "vrn_check/page_trailer.h"

namespace vrn::check {
namespace {

using scan::FaultKind;
using scan::Next;
using scan::Place;

// The mark of a `file_size` after which an append is under way.
constexpr std::uint64_t unfinished = std::uint64_t{1} << 63;

// Kinds of faults that are of a schema's file.
constexpr std::array<std::string_view, 3> schema_faults = {"schema_missing", "schema_text",
                                                           "schema_bad"};

constexpr char in_padding[] = "A block begins in the padding of a chunk";

Place at(std::uint64_t offset) {
    return {.chunk = offset, .block = offset};
}

Place beyond(Place place, std::uint64_t distance) {
    (place.is_in_page ? place.in_page : place.block) += distance;
    return place;
}

// Of a schemas block or of the header's event schemas.
std::string key_of(const vrn_schema_id_t &id) {
    return {reinterpret_cast<const char *>(id.bytes), sizeof id.bytes};
}

bool names_events(const vrn_data_file_header_t &header) {
    return !scan::is_all_zero({header.event_schema_ids[0].bytes, sizeof header.event_schema_ids});
}

// True for a schemas block with ids in the places that a header has as well.
bool has_ids_for_header(Bytes block) {
    if (block.size() < VRN_SCHEMAS_BLOCK_MIN_BYTES) return false;
    return !scan::is_all_zero(
        block.subspan(sizeof(vrn_schemas_block_t), VRN_EVENT_SCHEMA_IDS * sizeof(vrn_schema_id_t)));
}

}  // namespace

FileCheck::FileCheck(const std::string &path, SchemaTexts *schemas, scan::PageBuffer *page,
                     Take take)
    : path_(path),
      texts_(schemas),
      buffer_(page),
      take_(std::move(take)),
      hidden_(schemas),
      metrics_(
          {.tables = [](const scan::MetricsTables &) { return true; },
           .record =
               [this](std::size_t offset, const metrics::RecordView &record) {
                   check_time(record.timestamp, beyond(metrics_place_, offset));
               },
           .fault =
               [this](std::size_t offset, std::size_t lost, const char *kind, std::string reason) {
                   report(beyond(metrics_place_, offset), lost, kind, std::move(reason));
               }}) {}

Totals FileCheck::run() {
    struct stat status {};
    const bool has_size = stat(path_.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return run(ByteSource::open_path(path_.c_str()),
               has_size ? static_cast<std::uint64_t>(status.st_size) : 0);
}

Totals FileCheck::run(std::unique_ptr<ByteSource> source, std::uint64_t size) {
    // That of opening the file, before anything changes it.
    const int cause = errno;
    source_ = std::move(source);
    size_ = size;
    if (source_)
        scan_file();
    else
        report(at(0), size_, "unreadable", std::strerror(cause));
    give_last();
    totals_.files = 1;
    totals_.damaged = totals_.faults > 0 ? 1 : 0;
    return totals_;
}

void FileCheck::scan_file() {
    is_read_whole_ = scan::DataFileScan(source_.get(), texts_->cache(), buffer_, this).run();
    totals_.bytes = source_->position();
    if (!has_header_) return;
    if (is_read_whole_ && header_.file_size >= sizeof header_) check_size();
    if (const std::string fault = times_.fault(); !fault.empty())
        report(at(offsetof(vrn_data_file_header_t, first_timestamp)), 0, "header_times", fault);
}

void FileCheck::check_size() {
    const std::uint64_t told = header_.file_size & ~unfinished;
    const std::uint64_t size = source_->position();
    const std::uint64_t field = offsetof(vrn_data_file_header_t, file_size);
    const std::string sizes = "The header tells of " + std::to_string(told) +
                              " bytes, the file has " + std::to_string(size);
    if (told != header_.file_size)
        report(at(field), 0, "header_size", sizes + " and an append to it was left unfinished");
    else if (told > size)
        report(at(size), told - size, "header_size", sizes);
    else if (told < size)
        report(at(field), 0, "header_size", sizes);
}

void FileCheck::header(const vrn_data_file_header_t &header) {
    header_ = header;
    // What is no data file is told as such; its other fields mean nothing.
    if (!vrn_magic_matches(header.magic, VRN_MAGIC_FILE)) return;
    has_header_ = true;
    times_.begin(header);
    hidden_.begin(header);
    told_of_schemas_ = check_schema(header.counters_schema_id,
                                    at(offsetof(vrn_data_file_header_t, counters_schema_id)));
    for (std::size_t i = 0; i < VRN_EVENT_SCHEMA_IDS; ++i)
        told_of_schemas_ |= check_schema(
            header.event_schema_ids[i],
            at(offsetof(vrn_data_file_header_t, event_schema_ids) + i * sizeof(vrn_schema_id_t)));
    if (std::string_view(header.magic_end, sizeof header.magic_end) != "vrnf")
        report(at(offsetof(vrn_data_file_header_t, magic_end)), 0,
               tool::fault_kind_name(FaultKind::header_bad), "The header's closing magic is wrong");
}

void FileCheck::schemas_block(const scan::PlainBlock &block) {
    const auto fields = load_le<vrn_schemas_block_t>(block.bytes.data());
    told_of_schemas_ = false;
    for (std::size_t i = 0; i < fields.num_schema_ids; ++i) {
        const std::size_t offset = sizeof fields + i * sizeof(vrn_schema_id_t);
        told_of_schemas_ |= check_schema(load_le<vrn_schema_id_t>(block.bytes.data() + offset),
                                         beyond(block.place, offset));
    }
    // Up to there a reader wants all of it.
    if (fields.size > VRN_SCHEMAS_BLOCK_MIN_BYTES)
        report_hidden(block.place, hidden_.in_block(block.bytes, fields.size), fields.size,
                      "A block begins within a schemas block");
}

// True when the schema has a fault. Each is told once in a file.
bool FileCheck::check_schema(const vrn_schema_id_t &id, const Place &place) {
    SchemaTexts::Finding finding = texts_->look_up(id);
    if (!finding.kind) return false;
    const bool is_new = known_schemas_.insert(key_of(id)).second;
    if (is_new) report(place, 0, finding.kind, std::move(finding.reason));
    // Damage makes no id twice.
    if (!is_new || place.block < sizeof header_) named_schemas_.insert(key_of(id));
    return true;
}

void FileCheck::schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) {
    hidden_.use(schemas);
    load_message_ = schemas->messages.empty() ? "" : schemas->messages.front().text;
    lacks_counters_ = !vrn_schema_id_is_zero(&schemas->ids.counters) && !schemas->counters_schema();
    // What didn't load has left its place empty.
    lacks_schema_.clear();
    const vrn_type_system_t *system = schemas->type_system.get();
    for (std::size_t i = 0; system && i < system->num_schemas; ++i)
        lacks_schema_.push_back(system->schemas[i]->num_types == 0);
}

scan::PageUse FileCheck::page(const scan::CompressedPage &page) {
    // A fault was thought to reach to the end of the chunk, and a page was found in it.
    if (last_ && last_->offset < page.place.block && !last_->in_page)
        last_->lost = std::min(last_->lost, page.place.block - last_->offset);
    report_hidden(page.place, hidden_.in_page(page.block), page.block.size(),
                  "A page begins within a page");
    return scan::PageUse::blocks;
}

void FileCheck::decoded(const scan::CompressedPage &page, Bytes bytes) {
    const std::uint64_t claimed = page.decoded_size();
    if (claimed != bytes.size())
        report(page.place, claimed - bytes.size(), "page_trailer",
               "A page's trailer tells of " + std::to_string(claimed) + " bytes, its stream has " +
                   std::to_string(bytes.size()));
}

void FileCheck::page_tail(const scan::PlainBlock &rest) {
    if (!scan::is_all_zero(rest.bytes))
        report(rest.place, rest.bytes.size(), "page_tail",
               "Too few bytes for a block at the end of a page");
}

Next FileCheck::events(const scan::EventBatch &batch) {
    const Place place = batch.place();
    if (!check_head(place, batch.room, sizeof batch.header)) return Next::run;
    check_time(batch.header.timestamp, place);
    if (batch.count == batch.header.num_events) {
        const std::size_t size = sizeof batch.header + batch.rows.size();
        // Rows of no bytes have no place of their own.
        const Bytes run(batch.rows.data() - (batch.rows.empty() ? 0 : sizeof batch.header),
                        batch.room);
        report_hidden(place, hidden_.in_block(run, size), size,
                      "A block begins within the rows of another");
        return Next::block;
    }
    const std::size_t lost = (batch.header.num_events - batch.count) * batch.type->size;
    report(beyond(place, sizeof batch.header + batch.rows.size()), lost, "rows_cut",
           "Of " + std::to_string(batch.header.num_events) + " rows " +
               std::to_string(batch.count) + " are there");
    return Next::run;
}

Next FileCheck::counters(const scan::CountersBlock &block) {
    if (!check_head(block.place, block.room, sizeof block.header)) return Next::block;
    check_time(block.header.timestamp, block.place);
    if (block.held < block.schema->size)
        report(beyond(block.place, sizeof block.header + block.held),
               block.schema->size - block.held, "rows_cut",
               "Of a row of " + std::to_string(block.schema->size) + " bytes " +
                   std::to_string(block.held) + " are there");
    else if (!block.row.empty())
        check_padding(
            {VRN_COUNTERS_BLOCK, {block.row.data() - sizeof block.header, block.room}, block.place},
            sizeof block.header + block.held, block.header.timestamp);
    return Next::block;
}

Next FileCheck::metrics(const scan::PlainBlock &block) {
    metrics_place_ = block.place;
    metrics_.walk(block.bytes);
    report_hidden(block.place, hidden_.after_metrics(block.bytes), block.bytes.size(), in_padding);
    return Next::block;
}

Next FileCheck::blob(const scan::PlainBlock &block) {
    if (!check_head(block.place, block.bytes.size(), sizeof(vrn_blob_block_t))) return Next::block;
    const auto header = load_le<vrn_blob_block_t>(block.bytes.data());
    check_time(header.timestamp, block.place);
    const std::size_t room = block.bytes.size() - sizeof header;
    if (header.data_size > room)
        report(block.place, block.bytes.size(), "block_cut",
               "A blob claims " + std::to_string(header.data_size) + " bytes of " +
                   std::to_string(room));
    else
        check_padding(block, sizeof header + header.data_size, header.timestamp);
    return Next::block;
}

// Of a chunk of one block, which has `size` bytes.
void FileCheck::check_padding(const scan::PlainBlock &chunk, std::size_t size, std::uint64_t time) {
    // Pages have no chunks.
    if (chunk.place.is_in_page) return;
    report_hidden(chunk.place, hidden_.after_block(chunk.bytes, size, time), chunk.bytes.size(),
                  in_padding);
}

// Nothing when `hidden` is 0. Both are offsets from the block at `place`.
void FileCheck::report_hidden(const Place &place, std::size_t hidden, std::size_t end,
                              const char *reason) {
    if (hidden != 0) report(beyond(place, hidden), end - hidden, "block_hidden", reason);
}

void FileCheck::chunk_end() {
    static_cast<void>(log_.take());  // of decoders, which the faults tell better
}

// False when a block ends within its own header.
bool FileCheck::check_head(const Place &place, std::size_t held, std::size_t size) {
    if (held >= size) return true;
    report(place, held, "block_cut", "A block ends within its header");
    return false;
}

void FileCheck::check_time(std::uint64_t time, const Place &place) {
    if (times_.jumps_back(time))
        report(place, 0, "time_jump",
               "Time " + std::to_string(time) + " lies before that of the block before by more " +
                   "than the " + std::to_string(times_.span()) + " us of the file");
}

Next FileCheck::fault(const scan::Fault &fault) {
    switch (fault.kind) {
        case FaultKind::header_cut:
        case FaultKind::header_bad:
        case FaultKind::block_size_bad:
            return refuse_header(fault);
        case FaultKind::schemas_missing:
            return refuse_schemas(fault);
        case FaultKind::schema_none:
        case FaultKind::type_unknown:
            return refuse_type(fault);
        case FaultKind::page_damaged:
            return refuse_page(fault);
        case FaultKind::no_memory:
            report(fault.place, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
            return fault.block.empty() ? Next::nothing : Next::page;
        case FaultKind::stream_cut:
            report(at(source_->position()), 0, tool::fault_kind_name(fault.kind), fault.reason);
            return Next::block;
        case FaultKind::read_failed:
        case FaultKind::tail_short:
            report(fault.place, rest_of_file(fault.place.block), tool::fault_kind_name(fault.kind),
                   fault.reason);
            return Next::block;
        default:
            report(fault.place, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
            return Next::block;
    }
}

Next FileCheck::refuse_header(const scan::Fault &fault) {
    if (fault.kind == FaultKind::block_size_bad) {
        report(at(offsetof(vrn_data_file_header_t, block_size)), rest_of_file(sizeof header_),
               tool::fault_kind_name(fault.kind), fault.reason);
        return Next::nothing;
    }
    if (fault.kind == FaultKind::header_cut) {
        if (source_->state() == ByteSource::State::failed)
            report(at(0), size_, "unreadable", fault.reason);
        else
            report(at(0), source_->position(), tool::fault_kind_name(fault.kind),
                   "The file has " + std::to_string(source_->position()) + " bytes, a header has " +
                       std::to_string(sizeof header_));
        return Next::nothing;
    }
    if (!has_header_) {
        report(at(0), size_, "no_data_file", "The file doesn't begin as data files do");
        return Next::nothing;
    }
    // A size that is too small is a fault, but the data can be read all the same.
    const bool is_size = header_.file_size < sizeof header_;
    report(at(is_size ? offsetof(vrn_data_file_header_t, file_size)
                      : offsetof(vrn_data_file_header_t, version)),
           is_size ? 0 : size_, tool::fault_kind_name(fault.kind), logged(fault.reason));
    return is_size ? Next::block : Next::nothing;
}

// Schemas that are no JSON or don't fit; other faults of them have been told.
Next FileCheck::refuse_schemas(const scan::Fault &fault) {
    if (told_of_schemas_ || vrn_schema_id_is_blob(&header_.counters_schema_id)) return Next::block;
    const std::size_t ids = lacks_counters_ ? offsetof(vrn_data_file_header_t, counters_schema_id)
                                            : offsetof(vrn_data_file_header_t, event_schema_ids);
    const Place place = fault.block.empty() ? at(ids) : fault.place;
    report(place, 0, tool::fault_kind_name(fault.kind),
           load_message_.empty() ? std::string(fault.reason) : load_message_);
    return Next::block;
}

// What lacks a schema that has a fault is told by that fault.
Next FileCheck::refuse_type(const scan::Fault &fault) {
    const vrn_block_type_t kind = vrn_block_type_of(fault.block.data());
    if (fault.kind == FaultKind::schema_none) {
        if (kind == VRN_COUNTERS_BLOCK && !lacks_counters_)
            report(fault.place, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
        // Of a run of events, each block is told; a schemas block may name their schemas, but not
        // to readers that go by the header.
        if (kind == VRN_SCHEMAS_BLOCK && !names_events(header_) && has_ids_for_header(fault.block))
            report(fault.place, 0, tool::fault_kind_name(fault.kind), fault.reason);
        return Next::block;
    }
    const auto header = load_le<vrn_event_header_t>(fault.block.data());
    if (header.schema_index < lacks_schema_.size() && lacks_schema_[header.schema_index])
        return Next::block;
    if (check_head(fault.place, fault.block.size(), sizeof header))
        report(fault.place, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
    return Next::block;
}

Next FileCheck::refuse_page(const scan::Fault &fault) {
    const std::string trailer = false_trailer(fault.block);
    if (trailer.empty())
        report(fault.place, fault.lost, tool::fault_kind_name(fault.kind), logged(fault.reason));
    else
        report(fault.place, fault.lost, "page_trailer", trailer);
    return Next::page;
}

// Of a plain file; 0 when the end isn't known.
std::uint64_t FileCheck::rest_of_file(std::uint64_t offset) const {
    const std::uint64_t end =
        source_->is_compressed() ? source_->position() : std::max(size_, source_->position());
    return end - std::min(offset, end);
}

// `reason` with what the log told about it.
std::string FileCheck::logged(const char *reason) {
    const std::vector<LogLine> lines = log_.take();
    return lines.empty() ? reason : std::string(reason) + ": " + lines.back().text;
}

void FileCheck::report(const Place &place, std::uint64_t lost, std::string_view kind,
                       std::string reason) {
    add({.offset = place.block,
         .in_page = place.is_in_page ? std::optional(place.in_page) : std::nullopt,
         .lost = lost,
         .kind = kind,
         .reason = std::move(reason)});
}

void FileCheck::add(FileFault fault) {
    // Each is held back until the next: a page found later may shorten what it lost.
    give_last();
    ++totals_.faults;
    has_own_faults_ |= std::ranges::find(schema_faults, fault.kind) == schema_faults.end();
    last_ = std::make_unique<FileFault>(std::move(fault));
}

// An id that is nearly that of a schema is damaged, and so is one that a single block names.
bool FileCheck::is_file_sound() const {
    const auto is_damaged = [this](const std::string &key) {
        const auto id = load_le<vrn_schema_id_t>(bytes_of(key).data());
        const auto is_mended = [&id](const SchemaIdList &known) {
            const vrn_schema_id_t mended = known.mended(id);
            return vrn_schema_id_compare(&id, &mended) != 0;
        };
        return !named_schemas_.contains(key) || is_mended(texts_->known().events) ||
               is_mended(texts_->known().counters);
    };
    return !has_own_faults_ && std::ranges::none_of(known_schemas_, is_damaged);
}

void FileCheck::give_last() {
    if (!last_) return;
    totals_.add_lost(last_->lost);
    take_(*last_);
    last_.reset();
}

}  // namespace vrn::check
