#include "data/writer/scope_file.h"

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "utils/log.h"

namespace {

namespace fs = boost::filesystem;

// Limits of what a user's file may ask of the process. All of them are inclusive.
constexpr std::size_t max_path_length = 4096;
constexpr std::uintmax_t max_file_size = 10485760;  // bytes
constexpr std::size_t max_lines = 10000;
constexpr std::size_t max_line_length = 1024;  // characters, before trimming
constexpr std::size_t max_entries = 5000;

[[noreturn]] void refuse(const std::string &text) {
    VRN_LOG(VRN_LOG_ERROR, "[data page filter] %s", text.c_str());
    // Logged here and told again by the caller, who adds what it means for the filter.
    throw std::runtime_error(text);
}

bool is_refused_in_path(char character) {
    const auto code = static_cast<unsigned char>(character);
    // A path may hold these three, odd as they are.
    return code < 32 && character != '\t' && character != '\n' && character != '\r';
}

void check_path(const std::string &path) {
    // Also inside a name such as "a..b": strict rather than clever.
    if (path.find("..") != std::string::npos)
        refuse("File path contains path traversal sequences: " + path);
    if (path.size() > max_path_length)
        refuse("File path too long (" + std::to_string(path.size()) + " characters, max " +
               std::to_string(max_path_length) + "): " + path);
    if (std::ranges::any_of(path, is_refused_in_path))
        refuse("File path contains invalid control characters: " + path);
}

void check_file(const std::string &path) {
    try {
        if (!fs::exists(path)) refuse("File does not exist: " + path);
        if (!fs::is_regular_file(path)) refuse("Path is not a regular file: " + path);
        const std::uintmax_t size = fs::file_size(path);
        if (size > max_file_size)
            refuse("File size " + std::to_string(size) + " bytes exceeds maximum allowed size " +
                   std::to_string(max_file_size) + " bytes: " + path);
    } catch (const fs::filesystem_error &error) {
        refuse("Failed to validate file properties for " + path + ": " + error.what());
    }
}

// The value of a line: what stands before a comment, without the blanks around it.
std::string_view line_value(std::string_view line) {
    constexpr std::string_view blanks = " \t\r\n";
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    line = line.substr(0, line.find('#'));
    return line.substr(0, line.find_last_not_of(blanks) + 1);
}

void add_entry(vrn_string_set *entries, const std::string &entry, std::size_t line_number,
               const std::string &path) {
    // Repeats don't grow the set, so a full one still takes them.
    if (entries->size() >= max_entries && !entries->contains(entry))
        refuse("Too many entries in file (max " + std::to_string(max_entries) + "): " + path);
    if (entry.find('\0') != std::string::npos) {
        VRN_LOG(VRN_LOG_WARNING,
                "[data page filter] Skipping entry with null character at line %zu in file: %s",
                line_number, path.c_str());
        return;
    }
    entries->insert(entry);
}

vrn_string_set read_entries(std::istream &file, const std::string &path) {
    vrn_string_set entries;
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        // Cut short, not refused: what was read so far is a valid list.
        if (number > max_lines) {
            // Deliberate: a last line without a line feed has set the end and goes unreported.
            if (!file.eof())
                VRN_LOG(VRN_LOG_WARNING,
                        "[data page filter] File has more than %zu lines, only first %zu lines "
                        "were processed: %s",
                        max_lines, max_lines, path.c_str());
            break;
        }
        if (line.size() > max_line_length)
            refuse("Line " + std::to_string(number) + " exceeds maximum length " +
                   std::to_string(max_line_length) + " characters in file: " + path);
        const std::string entry(line_value(line));
        if (!entry.empty()) add_entry(&entries, entry, number, path);
    }
    // The stream doesn't tell a failure from the end.
    if (file.bad()) refuse("Failed to read scope file: " + path);
    return entries;
}

}  // namespace

vrn_string_set vrn_load_scope_file(const std::string &path) {
    if (path.empty()) return {};
    check_path(path);
    check_file(path);
    std::ifstream file(path);
    if (!file) refuse("Failed to open scope file: " + path);
    vrn_string_set entries = read_entries(file, path);
    VRN_LOG(VRN_LOG_INFO, "[data page filter] Loaded %zu scope entries from file: %s",
            entries.size(), path.c_str());
    return entries;
}
