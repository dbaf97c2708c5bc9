// The visitor that finds the faults of one data file.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "data/data_file_header.h"
#include "scan/byte_source.h"
#include "scan/metrics_walk.h"
#include "scan/page_buffer.h"
#include "scan/visitor.h"
#include "utils/log_capture.h"
#include "vrn_check/fault_text.h"
#include "vrn_check/hidden_blocks.h"
#include "vrn_check/schema_texts.h"
#include "vrn_check/time_check.h"

namespace vrn::check {

class FileCheck final : public scan::Visitor {
  public:
    using Take = std::function<void(const FileFault &)>;

    // `take` gets the faults, mostly in the order of their offsets. Borrows `schemas` and `page`.
    FileCheck(const std::string &path, SchemaTexts *schemas, scan::PageBuffer *page, Take take);

    // One of the two is to be called once.
    Totals run();
    // Of a source that was opened and may be null, after errno. `size` counts as that of the file.
    Totals run(std::unique_ptr<ByteSource> source, std::uint64_t size);

    // Tells of a fault that was found before the run.
    void add(FileFault fault);

    // After the run: true when the file itself has no fault, though schemas that it names may be
    // missing or have one.
    bool is_file_sound() const;

    void header(const vrn_data_file_header_t &header) override;
    void schemas_block(const scan::PlainBlock &block) override;
    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override;
    scan::PageUse page(const scan::CompressedPage &page) override;
    void decoded(const scan::CompressedPage &page, Bytes bytes) override;
    void page_tail(const scan::PlainBlock &rest) override;
    scan::Next events(const scan::EventBatch &batch) override;
    scan::Next counters(const scan::CountersBlock &block) override;
    scan::Next metrics(const scan::PlainBlock &block) override;
    scan::Next blob(const scan::PlainBlock &block) override;
    void chunk_end() override;
    scan::Next fault(const scan::Fault &fault) override;

  private:
    void scan_file();
    void check_size();
    [[nodiscard]] bool check_schema(const vrn_schema_id_t &id, const scan::Place &place);
    [[nodiscard]] bool check_head(const scan::Place &place, std::size_t held, std::size_t size);
    void check_time(std::uint64_t time, const scan::Place &place);
    void check_padding(const scan::PlainBlock &chunk, std::size_t size, std::uint64_t time);
    void report_hidden(const scan::Place &place, std::size_t hidden, std::size_t end,
                       const char *reason);
    scan::Next refuse_header(const scan::Fault &fault);
    scan::Next refuse_schemas(const scan::Fault &fault);
    scan::Next refuse_type(const scan::Fault &fault);
    scan::Next refuse_page(const scan::Fault &fault);
    std::uint64_t rest_of_file(std::uint64_t offset) const;
    std::string logged(const char *reason);
    void report(const scan::Place &place, std::uint64_t lost, std::string_view kind,
                std::string reason);
    void give_last();

    const std::string &path_;
    SchemaTexts *texts_;
    scan::PageBuffer *buffer_;
    Take take_;
    LogCapture log_;
    std::unique_ptr<ByteSource> source_;
    std::uint64_t size_ = 0;  // of the file as it stands on disk
    vrn_data_file_header_t header_{};
    bool has_header_ = false;
    bool is_read_whole_ = false;
    std::string load_message_;        // of the schemas that were loaded last
    std::vector<bool> lacks_schema_;  // by schema index
    bool lacks_counters_ = false;
    bool told_of_schemas_ = false;         // of those that were named last
    std::set<std::string> known_schemas_;  // ids with a fault, which has been told
    std::set<std::string> named_schemas_;  // those of them that are named by more than one block
    bool has_own_faults_ = false;          // of the file, not of its schemas
    TimeCheck times_;
    HiddenBlocks hidden_;
    scan::MetricsWalk metrics_;
    scan::Place metrics_place_;
    std::unique_ptr<FileFault> last_;  // kept back: what follows may shorten it
    Totals totals_;
};

}  // namespace vrn::check
