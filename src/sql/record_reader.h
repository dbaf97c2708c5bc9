// One thread's way through the records of a query.
#pragma once

#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "scan/missing_rows.h"
#include "sql/fault_visitor.h"
#include "sql/run_queue.h"

namespace vrn::sql {

// What a query takes of its files. Times are microseconds since the epoch, both included.
struct RecordFilter {
    std::string source{};  // empty: all
    std::uint64_t since = 0;
    std::uint64_t until = std::numeric_limits<std::uint64_t>::max();

    bool takes(std::uint64_t time) const { return since <= time && time <= until; }
    // A span without times isn't known.
    bool takes_span(std::uint64_t first, std::uint64_t last) const {
        return first == 0 || last < first || (first <= until && since <= last);
    }
};

// What all rows of a block have in common.
struct RecordNames {
    std::string file;
    std::string source;
    std::string tag;
};

// Collects the records of a run, piece by piece: what compressed pages decode to is held for one
// piece alone, so that memory stays flat. Subclasses take what they want from the visits, which
// stays valid until the next piece if it went through keep().
class RecordReader : public FaultVisitor {
  public:
    // Borrows both.
    RecordReader(RunQueue *queue, const RecordFilter *filter) : queue_(queue), filter_(*filter) {}

    // Visits the records of the next piece, which may have none. False when there is no more.
    bool next_piece();

    scan::PageUse page(const scan::CompressedPage &page) override;
    void decoded(const scan::CompressedPage &page, Bytes bytes) override;
    scan::Next pages_end(Bytes rest) override;
    scan::Next fault(const scan::Fault &fault) override;

  protected:
    // The collected records end here.
    // Subclasses drop all views here, before the bytes go that they lead to.
    virtual void begin_piece() = 0;

    const RecordFilter &filter() const { return filter_; }
    // False for a record of a source that isn't wanted, or one that the piece before had.
    bool takes_record(const scan::Place &place) const {
        return takes_source_ && place.block >= resume_at_;
    }
    // Tells of a block that isn't whole, once. What follows in the run is no fault of its own.
    template <typename Block>
    scan::Next tell_missing(const Block &block, const scan::Place &place) const {
        // The piece before told of those before that.
        if (place.block >= resume_at_)
            report_fault(path(), fault_text(scan::missing_rows(block), place));
        return scan::Next::run;
    }
    // Of the record that is visited; valid until the next piece.
    const RecordNames *names() const { return &names_.back(); }
    // A view of bytes of the record that is visited, with slack after them, that stays.
    const std::uint8_t *keep(const std::uint8_t *bytes);

  private:
    bool begin_run();
    void name_records(const vrn_source_t &page_names);

    RunQueue *queue_;
    const RecordFilter &filter_;
    TakenRun taken_;
    scan::PageBuffer buffer_;
    bool is_in_run_ = false;
    bool uses_first_ = false;      // the schemas that the run began with
    std::uint64_t resume_at_ = 0;  // the page that the next piece begins with
    bool has_stopped_ = false;     // there
    bool takes_source_ = true;
    std::deque<RecordNames> names_;  // of the piece; addresses stay
    vrn_source_t page_names_{};      // of the last of names_; empty: the file's
    Bytes payload_;                  // decoded bytes of the page that is visited
    const std::uint8_t *kept_payload_ = nullptr;
    std::vector<std::unique_ptr<std::uint8_t[]>> kept_;
    std::size_t kept_size_ = 0;
};

}  // namespace vrn::sql
