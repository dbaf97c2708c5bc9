// Where data files lie: path templates, the root folder that no path leaves, and its subfolders.
#pragma once

#include <string>
#include <string_view>

struct vrn_data_file_t;

// Who sets a template chooses where files lie: the folders in it in front of all names of pages
// ({{source}}, {{tag}}) may lead anywhere. False when it steps out of there with what follows.
[[nodiscard]] bool vrn_path_template_is_confined(std::string_view path_template);

// Path of the file that starts at the stream's present `first_ts`. Throws the date library's error
// for a year outside 1400 to 9999.
std::string vrn_data_file_expand_path(const vrn_data_file_t *file);

// Puts a number made from the stream's source in place of the first {{hash[num]}} of `text`; a
// text that has none, or a bad one, stays, the latter after one error line.
void vrn_expand_hash_in_template(const vrn_data_file_t *file, std::string *text);

// Source and tag come from pages that others made, so the path built from them must not leave the
// stream's root folder, or the folder outside of it that the template leads to in front of them.
// False when `path`, made normal, does. Otherwise steps to parent folders are taken out of what
// follows, which keeps it inside also where folders of the tree are links. Links that the owner of
// the root put there are followed. Without a root nothing is refused.
[[nodiscard]] bool vrn_data_file_confine_path(const vrn_data_file_t *file, std::string *path);

// Makes the parent folder of `path`, with all of its parents, and returns `path`. Throws a
// std::runtime_error when that is not possible.
std::string vrn_data_file_ensure_directory(const std::string &path);
