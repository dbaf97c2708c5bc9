// The visitor that turns one data file into output.
#pragma once

#include <memory>

#include "counters/metadata.h"
#include "reader/counters_output.h"
#include "reader/event_output.h"
#include "reader/file_output.h"
#include "reader/metrics_output.h"
#include "reader/page_export.h"
#include "scan/page_buffer.h"
#include "scan/schema_cache.h"
#include "scan/visitor.h"

namespace vrn::reader {

// What lasts over the files of a run.
struct ReaderRun {
    explicit ReaderRun(const vrn_reader_options_t &run_options);

    const vrn_reader_options_t &options;
    scan::SchemaCache schemas;
    scan::PageBuffer page;
    RecordOutput records;
    EventOutput events;
    CountersOutput counters;
};

class FileExport final : public scan::Visitor {
  public:
    // Borrows all; `pages` is null unless the format is bin. `is_first`: first entry of the list.
    FileExport(const char *file_name, bool is_first, ReaderRun *run, PageExport *pages);

    // Says why the file can't be read on.
    void give_up(const char *reason) const { output_.fail("%s", reason); }

    // Ends the framing of a file that was read to its end, or tells that it was not.
    void end(bool is_done);

    void header(const vrn_data_file_header_t &header) override;
    [[nodiscard]] bool begin() override;
    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override;
    scan::PageUse page(const scan::CompressedPage &page) override;
    scan::Next payload(const scan::CompressedPage &page, Bytes bytes) override;
    scan::Next pages_end(Bytes rest) override;
    scan::Next events(const scan::EventBatch &batch) override;
    scan::Next counters(const scan::CountersBlock &block) override;
    scan::Next metrics(const scan::PlainBlock &block) override;
    scan::Next blob(const scan::PlainBlock &block) override;
    void padding(const scan::PlainBlock &rest) override;
    void chunk_end() override;
    scan::Next fault(const scan::Fault &fault) override;

  private:
    scan::Next refuse(const scan::Place &place);
    scan::Next refuse_in_run(vrn_block_type_t kind, const scan::Place &place);
    scan::Next refuse_unknown(Bytes block, const scan::Place &place);
    scan::Next refuse_header(const scan::Fault &fault);
    void show_event_header(const vrn_event_header_t &header);

    ReaderRun *run_;
    PageExport *pages_;
    FileOutput output_;
    MetricsOutput metrics_;
    vrn_metadata_ptr metadata_;  // null without --metadata
    vrn_data_file_header_t header_{};
    bool is_first_;
    bool has_begun_ = false;
    bool page_failed_ = false;  // the page before; only padding may follow it
};

}  // namespace vrn::reader
