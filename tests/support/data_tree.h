// Pages of known content, and what a tree of data files holds of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vrn::test {

inline constexpr std::uint64_t page_block_size = 64;

// Data of a page that tells its time: one counters block of `page_block_size` bytes.
std::string page_data(std::uint64_t time);

// Paths of the regular files below `root`, sorted.
std::vector<std::string> data_files_of(const std::string &root);

// Checks that all files below `root` are a valid header and whole pages, and that they hold the
// pages of all times in `expected`. Empty, or what is wrong.
std::string check_data_tree(const std::string &root, const std::vector<std::uint64_t> &expected);

}  // namespace vrn::test
