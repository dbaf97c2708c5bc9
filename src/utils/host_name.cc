#include "utils/host_name.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "utils/strings.h"

char *vrn_get_host_name(char *buffer, std::size_t size) {
    if (size == 0) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    // Taken as it stands, dots included: who sets the variable decides on the whole name.
    if (const char *name = std::getenv("VRN_HOST_NAME")) {
        vrn_copy_bounded(buffer, size, name, std::strlen(name));
        return buffer;
    }
    if (gethostname(buffer, size - 1) != 0) return nullptr;
    // POSIX leaves it open whether a name that was cut short is terminated.
    buffer[size - 1] = 0;
    buffer[std::strcspn(buffer, ".")] = 0;
    return buffer;
}
