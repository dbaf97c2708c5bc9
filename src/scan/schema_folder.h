// Where the schemas of a data file are when nobody says it.
#pragma once

#include <string>
#include <vector>

#include "data/schema_id.h"

namespace vrn::scan {

inline constexpr char schema_folder_name[] = "schema";
inline constexpr int schema_search_levels = 5;

// `given` unless it is empty; otherwise where the schemas of the file at `path` are: where vrn_read
// finds them, or above the current folder, where it doesn't look.
std::string schema_folder_of(const std::string &path, const std::string &given);

// schema_<id>.json
std::string schema_file_name(const vrn_schema_id_t &id);
bool is_schema_file_name(const std::string &name);
// Of the schema files in `folder`, sorted; a folder that can't be read has none. Of more than
// 100,000 some are left out: folders of others may hold any number.
std::vector<vrn_schema_id_t> schema_ids_in(const std::string &folder);

}  // namespace vrn::scan

// Folder `name` beside the file at `path` or above it, within `levels` folders; the root itself is
// never tried. Freed by the caller; null when not found.
char *vrn_reader_find_schema_dir(const char *path, const char *name, int levels);
