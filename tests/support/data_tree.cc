#include "support/data_tree.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>

#include "data/data_file_header.h"
#include "support/byte_builder.h"
#include "support/temp_dir.h"
#include "utils/byte_reader.h"

namespace vrn::test {
namespace {

using Times = std::multiset<std::uint64_t>;

// Adds the times of the pages after a header; what is wrong, or nothing.
std::string read_pages(const std::string &bytes, Times *times) {
    vrn_data_file_header_t header;
    if (bytes.size() < sizeof header) return "no header";
    std::memcpy(&header, bytes.data(), sizeof header);
    if (!vrn_data_file_header_validate(&header)) return "bad header";
    if (header.block_size != page_block_size) return "bad block size";
    const std::string pages = bytes.substr(sizeof header);
    if (pages.size() % page_block_size != 0) return "torn page";
    for (std::size_t at = 0; at < pages.size(); at += page_block_size) {
        const auto time = load_le<std::uint64_t>(pages.data() + at + 8);
        if (pages.substr(at, page_block_size) != page_data(time)) return "bad page";
        times->insert(time);
    }
    return "";
}

}  // namespace

std::string page_data(std::uint64_t time) {
    ByteBuilder bytes;
    return bytes.text("VRND").u32(0).u64(time).text("values").pad_to(page_block_size).done();
}

std::vector<std::string> data_files_of(const std::string &root) {
    std::vector<std::string> paths;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(root))
        if (entry.is_regular_file()) paths.push_back(entry.path().string());
    std::ranges::sort(paths);
    return paths;
}

std::string check_data_tree(const std::string &root, const std::vector<std::uint64_t> &expected) {
    Times times;
    for (const std::string &path : data_files_of(root)) {
        const std::string fault = read_pages(read_file(path), &times);
        if (!fault.empty()) return std::string(path).append(": ").append(fault);
    }
    for (const std::uint64_t time : expected)
        if (!times.contains(time)) return "no page of time " + std::to_string(time);
    return "";
}

}  // namespace vrn::test
