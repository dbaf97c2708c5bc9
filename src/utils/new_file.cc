#include "utils/new_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace vrn {
namespace {

Descriptor open_folder_of(const std::filesystem::path &path) {
    return Descriptor(::open(path.has_parent_path() ? path.parent_path().c_str() : ".",
                             O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// Tries names until one is free: two processes may make files in one folder at a time.
template <typename Make>
bool with_spare_name(std::string *spare, Make make) {
    for (unsigned number = 0;; ++number) {
        *spare = ".vrn-" + std::to_string(::getpid()) + "-" + std::to_string(number) + ".tmp";
        if (make()) return true;
        if (errno != EEXIST) break;
    }
    spare->clear();
    return false;
}

}  // namespace

NewFile NewFile::nameless(const std::filesystem::path &path, mode_t mode) {
    NewFile file(open_folder_of(path), path.filename());
    file.open_nameless(mode);
    return file;
}

NewFile NewFile::named(const std::filesystem::path &path, mode_t mode) {
    NewFile file(open_folder_of(path), path.filename());
    file.open_named(mode);
    return file;
}

NewFile NewFile::in(Descriptor folder, std::string name, mode_t mode) {
    NewFile file(std::move(folder), std::move(name));
    // A file without a name gets one by way of /proc.
    if (::access("/proc/self/fd", X_OK) == 0) file.open_nameless(mode);
    if (!file.is_open()) file.open_named(mode);
    return file;
}

NewFile::~NewFile() {
    if (!spare_.empty()) drop_spare();
}

void NewFile::open_nameless(mode_t mode) {
    if (folder_.is_open())
        file_ = Descriptor(::openat(folder_.get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
}

void NewFile::open_named(mode_t mode) {
    if (!folder_.is_open()) return;
    with_spare_name(&spare_, [&] {
        constexpr int flags = O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC;
        file_ = Descriptor(::openat(folder_.get(), spare_.c_str(), flags, mode));
        return file_.is_open();
    });
}

bool NewFile::take_name() {
    if (spare_.empty()) {
        if (link(name_)) return true;
        // A link can't take a name that exists, a rename can: so link beside it first.
        if (errno != EEXIST || !link_beside()) return false;
    } else if (!file_.close()) {
        return false;
    }
    const bool done = ::renameat(folder_.get(), spare_.c_str(), folder_.get(), name_.c_str()) == 0;
    if (!done) drop_spare();
    spare_.clear();
    return done;
}

bool NewFile::link(const std::string &name) const {
    const std::string source = "/proc/self/fd/" + std::to_string(file_.get());
    return ::linkat(AT_FDCWD, source.c_str(), folder_.get(), name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool NewFile::link_beside() {
    return with_spare_name(&spare_, [&] { return link(spare_); });
}

void NewFile::drop_spare() {
    const int cause = errno;
    ::unlinkat(folder_.get(), spare_.c_str(), 0);
    errno = cause;
}

}  // namespace vrn
