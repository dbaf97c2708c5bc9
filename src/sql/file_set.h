// The files that a query names.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sql/column.h"
#include "sql/file_info.h"
#include "sql/record_reader.h"

namespace vrn::sql {

using FileSet = std::vector<std::shared_ptr<const FileInfo>>;

// The catalog of the process.
FileCatalog &file_catalog();

// Paths of files, patterns with * ? [ ], and folders, of which all files below are taken. What a
// pattern or folder has beside data files is passed over. Throws QueryError when a file that is
// named isn't there, and when there is no data file that can be opened.
FileSet find_files(const std::vector<std::string> &paths, const std::string &schema_folder);

// Those that may hold records that the filter takes.
FileSet files_in_time(const FileSet &files, const RecordFilter &filter);

}  // namespace vrn::sql
