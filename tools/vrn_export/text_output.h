// One text on its way out, from its head to its tail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "vrn_export/compressor.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/sorted_spool.h"

namespace vrn::exporter {

// What the texts of one run have in common. The format is borrowed.
struct TextForm {
    const Format &format;
    Compression compression = Compression::none;
    std::string spool_folder{};    // of lines that are to be sorted
    std::size_t spool_memory = 0;  // bytes for them, of each text

    // Of pieces of text as they are added.
    Compression piece_compression() const {
        return format.sorts_lines() ? Compression::none : compression;
    }
};

class TextOutput {
  public:
    using Write = std::function<void(std::string_view bytes)>;

    // `table` is its name among the format's tables. Begins with the head.
    TextOutput(const TextForm &form, const std::string &table, Write write);

    // The next piece, compressed by piece_compression().
    void add(std::string_view piece);
    // Ends with the tail.
    void finish();

    std::uint64_t bytes() const { return bytes_; }  // that went out

  private:
    void write(std::string_view packed);
    void write_text(std::string_view text);
    void write_sorted();

    TextForm form_;
    Write write_;
    std::optional<SortedSpool> spool_;  // of formats that sort their lines
    std::uint64_t bytes_ = 0;
};

}  // namespace vrn::exporter
