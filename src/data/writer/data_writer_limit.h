// The bound on the total size of what a data writer has stored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct vrn_written_file_t {
    std::string path;
    std::uint64_t size;  // bytes of data, approximate when there are several streams
};

// What was written since a limit was set.
struct vrn_written_files_t {
    std::vector<vrn_written_file_t> files;  // oldest first
    std::uint64_t total_size = 0;           // sum of their sizes
};

// Counts the file at `path` as the newest one written.
void vrn_written_files_add(vrn_written_files_t *written, const std::string &path);

// Counts `bytes` into the newest file, whichever received them. False when there is none.
[[nodiscard]] bool vrn_written_files_count(vrn_written_files_t *written, std::uint64_t bytes);

// Once the total is above `data_size_limit`, removes the oldest files until one more file of
// `file_size_limit` bytes has room. A file that can't be removed ends this after a line; the next
// call gives it up. A limit of 0 is none, and an error line.
void vrn_written_files_enforce_limit(vrn_written_files_t *written, std::uint64_t data_size_limit,
                                     std::uint64_t file_size_limit);
