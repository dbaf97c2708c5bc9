// All texts as one stream on standard output.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "vrn_export/file_output.h"
#include "vrn_export/text_output.h"

namespace vrn::exporter {

class StreamOutput final : public ExportOutput {
  public:
    explicit StreamOutput(const TextForm &form) : form_(form) {}

    bool is_ordered() const override { return true; }
    std::unique_ptr<FileOutput> begin_file(std::size_t index, const InputFeed &feed) override;
    void finish() override;

    // Of one file, or of a part of one. Throws std::runtime_error for a second table.
    void add(const Encoded &encoded);
    // What waits to be written is written.
    void flush();

  private:
    void begin(const std::string &table);
    void begin_without_rows();
    void write(std::string_view bytes);

    TextForm form_;
    std::optional<TextOutput> text_;
    std::string table_;
    TextBuffer waiting_;  // of small files
};

}  // namespace vrn::exporter
