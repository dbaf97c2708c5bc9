#include "common/schema_folder.h"

#include <unistd.h>

#include "scan/schema_folder.h"
#include "utils/c_ptr.h"

namespace vrn::tool {

std::string schema_folder_of(const std::string &path, const std::string &given) {
    if (!given.empty()) return given;
    const char *name = scan::schema_folder_name;
    if (access(name, F_OK) == 0) return name;
    const CString found(vrn_reader_find_schema_dir(path.c_str(), name, scan::schema_search_levels));
    return found ? found.get() : name;
}

}  // namespace vrn::tool
