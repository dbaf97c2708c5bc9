// Tables of what is known of files: a row for each of them, and one for each table they hold.
#pragma once

#include <memory>

#include "sql/file_set.h"
#include "sql/table.h"

namespace vrn::sql {

// `path`, `source`, `tag`, `first`, `last`, `bytes`, `faults`, `first_fault`. The last two are
// found by reading the file whole, when they are asked for.
std::unique_ptr<Table> make_file_table(FileSet files);

// `name` and `kind`: events, counters, metrics or histograms.
std::unique_ptr<Table> make_content_table(const FileSet &files);

// What a scan finds wrong in a file, without an end by the first fault.
struct FileFaults {
    std::uint64_t count = 0;
    std::string first{};
};
FileFaults find_faults(const FileInfo &file);

}  // namespace vrn::sql
