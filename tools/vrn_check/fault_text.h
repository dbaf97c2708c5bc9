// Faults of data files, as lines of text and of JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vrn::check {

struct FileFault {
    std::uint64_t offset;                    // in the decompressed file; of a page, where it begins
    std::optional<std::uint64_t> in_page{};  // in the decoded bytes of the page
    std::uint64_t lost;                      // bytes that no record comes out of
    std::string_view kind;                   // a word for programs; of static life
    std::string reason;
};

struct Totals {
    std::uint64_t files = 0;
    std::uint64_t damaged = 0;  // files with a fault
    std::uint64_t faults = 0;
    std::uint64_t bytes = 0;  // read, decompressed
    std::uint64_t lost = 0;
    std::uint64_t salvaged = 0;  // files that were written
    std::uint64_t left_out = 0;  // bytes that they lack

    // Headers may claim any number of bytes: the sum stays at the highest.
    void add_lost(std::uint64_t more);
    Totals &operator+=(const Totals &other);
};

enum class Form : std::uint8_t { text, json };

// Lines with their ends. Text is as shown_text() has it; in JSON, bytes of names that are no UTF-8
// are replaced by U+FFFD, and all integers are exact.
std::string fault_line(Form form, std::string_view path, const FileFault &fault);
std::string totals_line(Form form, const Totals &totals);
// Of what was written to the folder at `path`.
std::string salvage_line(Form form, std::string_view path, const Totals &totals);

}  // namespace vrn::check
