// A file in memory, for decoders that take a path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>

namespace vrn::fuzz {

// Path of a file with this content, the same file each time; empty when it can't be made.
inline std::string file_of(const std::string &content) {
    static const int file = memfd_create("input", MFD_CLOEXEC);
    if (ftruncate(file, 0) != 0 || pwrite(file, content.data(), content.size(), 0) < 0) return {};
    return "/proc/self/fd/" + std::to_string(file);
}

}  // namespace vrn::fuzz
