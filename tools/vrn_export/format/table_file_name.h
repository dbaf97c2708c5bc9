// Names of files for tables.
#pragma once

#include <string>
#include <string_view>

namespace vrn::exporter {

// A file name without suffix for a table of any name: letters, digits, "-" and "_" stay, and "."
// but for the first character; all else is %XX, and a name that would be too long is cut and gets
// the hash of the whole one. Never empty; different names have different files.
std::string table_file_name(std::string_view table);

// The hexadecimal MD5 of `text`, 32 digits.
std::string text_digest(std::string_view text);

}  // namespace vrn::exporter
