// Owners of open files and folders.
#pragma once

#include <dirent.h>

#include <cstdio>

#include "utils/c_ptr.h"

namespace vrn {

// Both close without a word: what was written must be flushed and checked before.
inline void close_file(std::FILE *file) {
    std::fclose(file);
}
inline void close_folder(DIR *folder) {
    closedir(folder);
}

using FilePtr = CPtr<std::FILE, close_file>;
using FolderPtr = CPtr<DIR, close_folder>;

}  // namespace vrn
