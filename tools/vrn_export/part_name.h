// Names of the parts that inputs become.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/input_files.h"

namespace vrn::exporter {

// Below the output folder, of the input at `path`: its path without what leads up or to the root,
// then `suffix`. Control characters, '%' and bytes that are no UTF-8 are %XX, so that a list of
// names has one a line; folders that are called as parts are have a %2E. Names too long for a file
// system are cut and told apart by a digest.
std::string part_name(std::string_view path, std::string_view suffix);

// Of a file for the table of that name, in one folder.
std::string table_file_name(std::string_view table, std::string_view suffix);

// Drops inputs that stand twice in the list. Throws tool::UsageError when two would share a part.
void give_each_a_part(std::string_view suffix, std::vector<tool::InputFile> *files);

}  // namespace vrn::exporter
