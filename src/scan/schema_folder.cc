#include "scan/schema_folder.h"

#include <libgen.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "utils/c_ptr.h"

char *vrn_reader_find_schema_dir(const char *path, const char *name, int levels) {
    const vrn::CString copy(strdup(path));
    if (!copy) return nullptr;
    const char *folder = dirname(copy.get());
    for (int tries = 0; tries < levels && std::strcmp(folder, "/") != 0; ++tries) {
        char candidate[4096];
        std::snprintf(candidate, sizeof candidate, "%s/%s", folder, name);
        if (access(candidate, F_OK) == 0) return strdup(candidate);
        folder = dirname(const_cast<char *>(folder));  // in place, within our copy
    }
    return nullptr;
}

namespace vrn::scan {
namespace {

constexpr std::string_view name_start = "schema_", name_end = ".json";

bool read_id(const std::string &name, vrn_schema_id_t *id) {
    if (!name.starts_with(name_start)) return false;
    const std::string hex = name.substr(name_start.size(), VRN_SCHEMA_ID_HEX_SIZE - 1);
    // Made again, as only one of the spellings of an id names its file.
    return vrn_schema_id_from_hex(hex.c_str(), id) && schema_file_name(*id) == name;
}

}  // namespace

std::string schema_folder_of(const std::string &path, const std::string &given) {
    if (!given.empty()) return given;
    const char *name = schema_folder_name;
    if (access(name, F_OK) == 0) return name;
    std::error_code error;
    // First as it was given, so that messages name the folder likewise.
    for (const std::string &start : {path, std::filesystem::absolute(path, error).string()}) {
        const CString found(vrn_reader_find_schema_dir(start.c_str(), name, schema_search_levels));
        if (found) return found.get();
    }
    return name;
}

std::string schema_file_name(const vrn_schema_id_t &id) {
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    return std::string(name_start) + hex + std::string(name_end);
}

bool is_schema_file_name(const std::string &name) {
    vrn_schema_id_t id{};
    return read_id(name, &id);
}

std::vector<vrn_schema_id_t> schema_ids_in(const std::string &folder) {
    constexpr std::size_t max_ids = 100000;
    std::vector<vrn_schema_id_t> ids;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end;
         !error && entry != end && ids.size() < max_ids; entry.increment(error)) {
        vrn_schema_id_t id{};
        // A pipe or a device may have no end.
        if (read_id(entry->path().filename(), &id) && entry->is_regular_file(error))
            ids.push_back(id);
    }
    std::ranges::sort(ids, [](const vrn_schema_id_t &a, const vrn_schema_id_t &b) {
        return vrn_schema_id_compare(&a, &b) < 0;
    });
    return ids;
}

}  // namespace vrn::scan
