#include "reader/file_export.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "data/block.h"
#include "utils/log.h"
#include "utils/with_memory.h"

namespace vrn::reader {

namespace {

using scan::FaultKind;
using scan::Next;
using scan::PageUse;

std::optional<std::string> text_of(const char *text) {
    return text ? std::optional<std::string>(text) : std::nullopt;
}

scan::SchemaLoaderOptions loader_options(const vrn_reader_options_t &options) {
    return {.folder = text_of(options.schema_path).value_or(""),
            .field_set_file = text_of(options.fset_file),
            .counter_set_file = text_of(options.cset_file),
            .take_unfiltered_kind = options.ignore_missing_filter};
}

// File name without folders, up to its first point.
std::string_view array_name(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.find('.'));
}

bool is_out_of_date_range(const vrn_data_file_header_t &header,
                          const vrn_reader_options_t &options) {
    const std::uint64_t lower = options.timestamp_gt;
    const std::uint64_t upper = options.timestamp_lt;
    // All four at once: only an inverted range skips a file, the rest is filtered block by block.
    return header.first_timestamp < lower && header.last_timestamp < lower &&
           header.first_timestamp > upper && header.last_timestamp > upper;
}

}  // namespace

ReaderRun::ReaderRun(const vrn_reader_options_t &run_options)
    : options(run_options), schemas(loader_options(run_options)), records(run_options.format) {}

FileExport::FileExport(const char *file_name, bool is_first, ReaderRun *run, PageExport *pages)
    : run_(run),
      pages_(pages),
      output_{run->options, file_name, run->records},
      is_first_(is_first) {}

void FileExport::end(bool is_done) {
    output_.records.flush();
    // After a failure the array stays open: what was written stands.
    if (!is_done && has_begun_) output_.fail("Failed to process data file %s", output_.file_name);
    if (is_done && output_.options.format == VRN_FORMAT_JSON) std::fputs("]", stdout);
}

void FileExport::header(const vrn_data_file_header_t &header) {
    header_ = header;
    // Before the check, so that a bad header is still shown.
    if (output_.options.print_page_info) vrn_data_file_header_print(stdout, &header);
}

bool FileExport::begin() {
    if (output_.options.metadata)
        metadata_ = with_memory(
            [this] { return vrn_metadata_ptr(vrn_metadata_load(output_.options.schema_path)); });
    run_->counters.use_metadata(metadata_.get());
    // From here on a failure is that of a file being processed, and is told as such.
    has_begun_ = true;
    if (output_.options.format == VRN_FORMAT_JSON) {
        if (!is_first_) std::fputs(",", stdout);
        const std::string_view name = array_name(output_.file_name);
        std::printf("\"%.*s\":[", static_cast<int>(name.size()), name.data());
    }
    if (!is_out_of_date_range(header_, output_.options)) return true;
    VRN_LOG(VRN_LOG_DEBUG, "File content is out of date range");
    return false;
}

void FileExport::schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) {
    run_->events.use(schemas);
    run_->counters.use_schemas(schemas);
}

PageUse FileExport::page(const scan::CompressedPage & /*page*/) {
    // Only padding excuses a failed page; another page after it doesn't.
    if (page_failed_) return PageUse::fail_file;
    return pages_ ? PageUse::payload : PageUse::blocks;
}

Next FileExport::payload(const scan::CompressedPage &page, Bytes bytes) {
    if (pages_->add(page.header, bytes)) return Next::block;
    page_failed_ = true;
    return Next::page;
}

Next FileExport::pages_end(Bytes rest) {
    if (page_failed_ && rest.empty()) return Next::nothing;
    page_failed_ = false;  // padding excuses it
    return Next::chunk;
}

Next FileExport::events(const scan::EventBatch &batch) {
    if (output_.options.print_page_info) show_event_header(batch.header);
    if (batch.count == 0 || run_->events.show(batch, &output_)) return Next::block;
    return refuse_in_run(VRN_EVENTS_BLOCK, batch.place());
}

Next FileExport::counters(const scan::CountersBlock &block) {
    bool done = true;
    // Deliberate: the header takes the place of the row, though events show both.
    if (output_.options.print_page_info) {
        output_.records.flush();
        vrn_data_block_print(stdout, &block.header);
    } else {
        done = run_->counters.show(block, &output_);
    }
    ++output_.records_out;  // also when the block was left out by time
    return done ? Next::block : refuse(block.place);
}

Next FileExport::metrics(const scan::PlainBlock &block) {
    const bool done = metrics_.show(block.bytes, &output_);
    ++output_.records_out;
    return done ? Next::block : refuse(block.place);
}

Next FileExport::blob(const scan::PlainBlock &block) {
    return refuse_unknown(block.bytes, block.place);
}

void FileExport::padding(const scan::PlainBlock &rest) {
    VRN_LOG(VRN_LOG_DEBUG, "Unexpected block type %d at offset %zu", static_cast<int>(rest.kind),
            static_cast<std::size_t>(rest.place.in_run));
}

void FileExport::chunk_end() {
    if (pages_) pages_->end_chunk();
}

Next FileExport::fault(const scan::Fault &fault) {
    switch (fault.kind) {
        case FaultKind::header_cut:
        case FaultKind::header_bad:
        case FaultKind::block_size_bad:
            return refuse_header(fault);
        case FaultKind::schemas_missing:
            return has_begun_ ? refuse_in_run(VRN_SCHEMAS_BLOCK, fault.place)
                              : refuse_header(fault);
        case FaultKind::no_memory:
            VRN_LOG(VRN_LOG_ERROR, "%s", fault.reason);
            return Next::nothing;
        case FaultKind::read_failed:
            VRN_LOG(VRN_LOG_ERROR, "Failed to read data file %s: %s", output_.file_name,
                    fault.reason);
            return Next::nothing;
        case FaultKind::stream_cut:
            // All that came before the cut was shown: nothing fails.
            VRN_LOG(VRN_LOG_WARNING, "Data file %s is cut short: its gzip stream has no end",
                    output_.file_name);
            return Next::block;
        case FaultKind::tail_short:
            VRN_LOG(VRN_LOG_ERROR, "No data block header read from the file %s", output_.file_name);
            return Next::nothing;
        case FaultKind::block_unknown:
            return refuse_unknown(fault.block, fault.place);
        case FaultKind::not_a_block:
            return fault.place.is_in_page ? Next::run : Next::chunk;  // padding
        // A file without such schemas passes such blocks over without a word.
        case FaultKind::schema_none:
            return Next::run;
        case FaultKind::schemas_block_bad:
            return refuse_in_run(VRN_SCHEMAS_BLOCK, fault.place);
        case FaultKind::type_unknown:
            // Shown as those of known types are, before the fault is told.
            if (output_.options.print_page_info)
                show_event_header(load_le<vrn_event_header_t>(fault.block.data()));
            VRN_LOG(VRN_LOG_ERROR, "%s", fault.reason);
            return refuse_in_run(VRN_EVENTS_BLOCK, fault.place);
        case FaultKind::page_cut:
            // Deliberate: a chunk ends at such a page without a word, and the next one is read.
            return page_failed_ ? Next::nothing : Next::chunk;
        case FaultKind::page_damaged:
            page_failed_ = true;
            return Next::page;
    }
    return Next::nothing;
}

// A failed page does not fail the file when only padding follows.
Next FileExport::refuse(const scan::Place &place) {
    if (!place.is_in_page) return Next::nothing;
    page_failed_ = true;
    return Next::page;
}

Next FileExport::refuse_in_run(vrn_block_type_t kind, const scan::Place &place) {
    VRN_LOG(VRN_LOG_ERROR, "Failed to process block of type %d at offset %zu",
            static_cast<int>(kind), static_cast<std::size_t>(place.in_run));
    return refuse(place);
}

Next FileExport::refuse_unknown(Bytes block, const scan::Place &place) {
    VRN_LOG(VRN_LOG_ERROR, "Reached unknown block type %d '%s'. Magic value '%.4s'",
            static_cast<int>(vrn_block_type_of(block.data())),
            place.is_in_page ? "in compressed data block" : "",
            reinterpret_cast<const char *>(block.data()));
    return refuse(place);
}

Next FileExport::refuse_header(const scan::Fault &fault) {
    if (fault.kind == FaultKind::header_cut)
        output_.fail("Failed reading data file header: %s", fault.reason);
    else
        output_.fail("%s", fault.reason);
    return Next::nothing;
}

void FileExport::show_event_header(const vrn_event_header_t &header) {
    output_.records.flush();
    vrn_event_header_print(stdout, &header);
}

}  // namespace vrn::reader
