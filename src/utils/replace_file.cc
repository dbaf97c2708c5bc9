#include "utils/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "utils/descriptor.h"
#include "utils/new_file.h"
#include "utils/write_all.h"

namespace vrn {
namespace {

// True when the file has exactly this content. An unchanged file keeps its time and its inode.
bool holds(const std::string &path, std::string_view content) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char buffer[4096];
    ssize_t count;
    while ((count = ::read(file.get(), buffer, sizeof buffer)) > 0) {
        if (!content.starts_with({buffer, static_cast<std::size_t>(count)})) return false;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return count == 0 && content.empty();
}

// For pipes and devices, which can't be replaced and keep nothing that could be lost.
ReplacedFile write_in_place(const std::string &path, std::string_view content) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (!file.is_open()) return ReplacedFile::not_opened;
    return write_all(file.get(), content) && file.close() ? ReplacedFile::done
                                                          : ReplacedFile::not_written;
}

// `old` is the status of the file that is replaced, or null.
bool fill(const Descriptor &file, std::string_view content, const struct stat *old) {
    if (!write_all(file.get(), content)) return false;
    if (!old) return true;
    // Only the superuser may give files away; who else may write this one owns it from now on.
    [[maybe_unused]] const int ignored = ::fchown(file.get(), old->st_uid, old->st_gid);
    return ::fchmod(file.get(), old->st_mode & 0777) == 0;
}

ReplacedFile put(NewFile file, std::string_view content, const struct stat *old) {
    if (!file.is_open()) return ReplacedFile::not_opened;
    return fill(file.descriptor(), content, old) && file.take_name() ? ReplacedFile::done
                                                                     : ReplacedFile::not_written;
}

}  // namespace

ReplacedFile replace_file(const std::string &path, std::string_view content) {
    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) return write_in_place(path, content);
    if (exists && holds(path, content)) return ReplacedFile::done;
    // A file that may not be written is not to be replaced either.
    if (exists && ::access(path.c_str(), W_OK) != 0) return ReplacedFile::not_opened;
    std::error_code error;
    std::filesystem::path target = path;
    // A symbolic link stays one: the file that it leads to is replaced.
    if (exists) target = std::filesystem::canonical(path, error);
    if (error) return errno = error.value(), ReplacedFile::not_opened;
    const struct stat *old = exists ? &status : nullptr;
    const mode_t mode = old ? old->st_mode & 0777 : 0666;  // less the umask
    if (put(NewFile::nameless(target, mode), content, old) == ReplacedFile::done)
        return ReplacedFile::done;
    // Also after a nameless file failed for any other reason: /proc may be missing, for one.
    return put(NewFile::named(target, mode), content, old);
}

}  // namespace vrn
