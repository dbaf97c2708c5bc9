#include "scan/schema_folder.h"

#include <libgen.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

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

std::string schema_folder_of(const std::string &path, const std::string &given) {
    if (!given.empty()) return given;
    const char *name = schema_folder_name;
    if (access(name, F_OK) == 0) return name;
    const CString found(vrn_reader_find_schema_dir(path.c_str(), name, schema_search_levels));
    return found ? found.get() : name;
}

}  // namespace vrn::scan
