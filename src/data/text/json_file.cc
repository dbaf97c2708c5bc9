#include "data/text/json_file.h"

#include <sys/stat.h>

#include <cerrno>

vrn_json_value_ptr vrn_json_file_parse(const char *path) {
    struct stat status {};
    if (stat(path, &status) != 0) return nullptr;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return nullptr;
    }
    return vrn_json_value_ptr(json_parse_file(path));
}
