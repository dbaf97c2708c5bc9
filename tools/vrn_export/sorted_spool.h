// Lines in the order of their keys, however many: what does not fit into memory waits in a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "utils/descriptor.h"

namespace vrn::exporter {

// Keys are compared as bytes and stand once each: of several lines of one key the greatest stays,
// whatever order they come in. The file has no name, and goes with the spool. Functions throw
// std::system_error when it can't be written or read.
class SortedSpool {
  public:
    // Takes about `memory` bytes, and more only for lines that alone are larger; at most 4 GiB. The
    // file, should one be needed, goes to `folder`.
    SortedSpool(std::string folder, std::size_t memory);

    // Any number of whole lines, each "key\tline\n". Keys hold no tabs.
    void add(std::string_view lines);

    // Gives the lines with their ends and without their keys, then is empty.
    void drain(const std::function<void(std::string_view line)> &take);

  private:
    struct Entry {
        std::uint32_t begin;
        std::uint32_t key_size;
        std::uint32_t size;  // from the key to the end of the line
    };
    struct Run {
        std::uint64_t begin;  // in the file
        std::uint64_t end;
    };
    using TakeKeyed = std::function<void(std::string_view keyed, std::size_t key_size)>;

    void add_line(std::string_view keyed, std::size_t key_size);
    void take_held(const TakeKeyed &take);
    void write_run(const std::function<void(const TakeKeyed &)> &give);
    void spill();
    void merge(int file, std::span<const Run> runs, const TakeKeyed &take);
    void merge_groups();
    std::size_t fan_in() const;
    std::size_t buffer_size() const;  // of each file that is read or written in a merge

    std::string folder_;
    std::size_t memory_;
    std::size_t text_limit_;
    std::size_t entry_limit_;
    std::size_t text_size_ = 0;
    std::unique_ptr<char[]> text_;
    std::vector<Entry> entries_;  // of what is in memory
    Descriptor file_;
    std::vector<Run> runs_;
};

}  // namespace vrn::exporter
