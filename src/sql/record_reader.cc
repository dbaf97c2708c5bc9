#include "sql/record_reader.h"

#include <cstring>

#include "sql/clean_text.h"

namespace vrn::sql {
namespace {

// Of decoded pages that one piece may hold, or one page.
constexpr std::size_t max_kept = 4 << 20;

}  // namespace

bool RecordReader::next_piece() {
    begin_piece();
    names_.clear();
    kept_.clear();
    kept_size_ = 0;
    if (!is_in_run_ && !begin_run()) return false;
    const FileInfo &file = *taken_.file->info;
    name_records({});
    has_stopped_ = false;
    scan::ChunkRun &run = taken_.run;
    // Visits page() and the subclass, which stage what they want of the run.
    scan::ChunkRunEnd end = walk_chunk_run(run, file.cache.get(), &buffer_, this);
    // A piece that goes on with later schemas says nothing of those that the run began with.
    if (run.schemas == taken_.first_schemas) uses_first_ |= end.used_first_schemas;
    if (!has_stopped_) {
        is_in_run_ = false;
        RunQueue::end_walk(taken_, std::move(end.schemas), uses_first_);
        return true;
    }
    // On with the chunk that holds the page, and with what held there.
    const std::size_t offset = resume_at_ - run.offset;
    const std::size_t chunk = offset - offset % run.chunk_size;
    run.bytes = run.bytes.subspan(chunk);
    run.offset += chunk;
    run.schemas = std::move(end.schemas);
    return true;
}

bool RecordReader::begin_run() {
    if (!queue_->take(&taken_)) return false;
    is_in_run_ = true;
    uses_first_ = false;
    resume_at_ = 0;
    set_path(taken_.file->info->path);
    return true;
}

scan::PageUse RecordReader::page(const scan::CompressedPage &page) {
    if (page.place.block < resume_at_) return scan::PageUse::pass_over;
    // Nothing is kept when a piece begins, so each one gets past at least one page. Failing the
    // file is how a walk stops; next_piece() goes on from there.
    if (kept_size_ >= max_kept) {
        resume_at_ = page.place.block;
        has_stopped_ = true;
        return scan::PageUse::fail_file;
    }
    check_cancelled();
    const vrn_source_t source = page.source();
    // Most pages have the names of the page before: no new texts for those.
    if (std::memcmp(&source, &page_names_, sizeof source) != 0) name_records(source);
    // Passed over without being decoded, which is most of the work.
    const bool is_wanted = takes_source_ && filter_.takes_span(page.fields.first_timestamp,
                                                               page.fields.last_timestamp);
    return is_wanted ? scan::PageUse::blocks : scan::PageUse::pass_over;
}

void RecordReader::decoded(const scan::CompressedPage & /*page*/, Bytes bytes) {
    // Copied by keep() once a record of it is wanted, since many pages have none.
    payload_ = bytes;
    kept_payload_ = nullptr;
}

scan::Next RecordReader::pages_end(Bytes /*rest*/) {
    payload_ = {};
    if (page_names_.source[0] != '\0') name_records({});
    return scan::Next::block;
}

// Those before the page to go on with were told.
scan::Next RecordReader::fault(const scan::Fault &fault) {
    if (fault.place.block < resume_at_) return scan::Next::block;
    return FaultVisitor::fault(fault);
}

void RecordReader::name_records(const vrn_source_t &page_names) {
    const FileInfo &file = *taken_.file->info;
    page_names_ = page_names;
    if (page_names.source[0] == '\0')
        names_.push_back({file.path, file.source, file.tag});
    else
        names_.push_back({file.path, clean_text(field_text(page_names.source)),
                          clean_text(field_text(page_names.tag))});
    // By the cleaned name, which is the one that the user sees in the column.
    takes_source_ = filter_.source.empty() || filter_.source == names()->source;
}

const std::uint8_t *RecordReader::keep(const std::uint8_t *bytes) {
    // The bytes of a run stay by themselves.
    if (payload_.empty() || bytes < payload_.data() || bytes > payload_.data() + payload_.size())
        return bytes;
    if (!kept_payload_) {
        const std::size_t size = payload_.size() + scan::slack_size;
        kept_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(size));
        // With the slack, as readers may look that far past the last record.
        std::memcpy(kept_.back().get(), payload_.data(), size);
        kept_payload_ = kept_.back().get();
        kept_size_ += size;
    }
    return kept_payload_ + (bytes - payload_.data());
}

}  // namespace vrn::sql
