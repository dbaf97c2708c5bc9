#include "data/selection/set_file.h"

#include <filesystem>
#include <fstream>
#include <utility>

#include "utils/log.h"

namespace vrn {
namespace {

// The member of both classes that the messages name.
constexpr char loader[] = "loadFromFile";

}  // namespace

// Files from other systems end their lines with a carriage return, too.
std::string_view trim_set_text(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

std::optional<std::vector<std::string>> read_set_file(const SetFileKind &kind, const char *filename,
                                                      std::string *name) {
    if (!filename) {
        VRN_LOG(VRN_LOG_ERROR, "%s: missing filename parameter", kind.class_name);
        return std::nullopt;
    }
    if (!*filename) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] empty filename", loader);
        return std::nullopt;
    }
    const std::filesystem::path path(filename);
    std::error_code unreachable;
    // With an error code: a folder that may not be searched must not throw here.
    if (!std::filesystem::exists(path, unreachable)) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] file %s does not exist", loader, filename);
        return std::nullopt;
    }
    std::ifstream file(path);
    if (!file) {
        VRN_LOG(VRN_LOG_WARNING, "[%s] cannot open %s file %s", loader, kind.title, filename);
        return std::nullopt;
    }
    // Set before the lines are read, so that it names the file of the last attempt.
    *name = path.stem();
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(std::move(line));
    // The stream doesn't tell a failure from the end. A folder is one without lines.
    if (file.bad() && !std::filesystem::is_directory(path, unreachable)) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] cannot read %s file %s", loader, kind.title, filename);
        return std::nullopt;
    }

    // Only now, as a file that can't be read has no lines to show.
    VRN_LOG(VRN_LOG_DEBUG, "[%s] loading %s file %s", loader, kind.extension, filename);
    for (const std::string &line : lines) VRN_LOG(VRN_LOG_DEBUG, "[%s] %s", loader, line.c_str());
    VRN_LOG(VRN_LOG_DEBUG, "[%s] -----------------------", loader);
    return lines;
}

bool check_set_has_patterns(bool has_patterns, const char *filename) {
    if (!has_patterns) VRN_LOG(VRN_LOG_WARNING, "[%s] no patterns found in %s", loader, filename);
    return has_patterns;
}

}  // namespace vrn
