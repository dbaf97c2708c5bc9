// Where the schemas of a data file are when nobody says it.
#pragma once

namespace vrn::scan {

inline constexpr char schema_folder_name[] = "schema";
inline constexpr int schema_search_levels = 5;

}  // namespace vrn::scan

// Folder `name` beside the file at `path` or above it, within `levels` folders; the root itself is
// never tried. Freed by the caller; null when not found.
char *vrn_reader_find_schema_dir(const char *path, const char *name, int levels);
