#include "utils/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "utils/descriptor.h"

namespace vrn {
namespace {

bool write_all(const Descriptor &file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file.get(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

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
    return write_all(file, content) && file.close() ? ReplacedFile::done
                                                    : ReplacedFile::not_written;
}

// A new file on its way to a name in a folder.
class Replacement {
  public:
    Replacement(const std::filesystem::path &path, const struct stat *old)
        : folder_(::open(path.has_parent_path() ? path.parent_path().c_str() : ".",
                         O_PATH | O_DIRECTORY | O_CLOEXEC)),
          name_(path.filename()),
          mode_(old ? old->st_mode & 0777 : 0666),  // less the umask
          old_(old) {}

    bool has_folder() const { return folder_.is_open(); }

    // Without a name until it is whole, so that a kill leaves nothing in the folder.
    ReplacedFile put_nameless(std::string_view content) {
        Descriptor file(::openat(folder_.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode_));
        if (!file.is_open()) return ReplacedFile::not_opened;
        if (!fill(file, content)) return ReplacedFile::not_written;
        if (link(file, name_)) return ReplacedFile::done;
        // A link can't take a name that exists, a rename can: so link beside it first.
        const auto link_spare = [&] { return link(file, spare_); };
        const bool is_linked = errno == EEXIST && with_spare_name(link_spare);
        return is_linked && take_name() ? ReplacedFile::done : ReplacedFile::not_written;
    }

    // Where the file system has no files without a name.
    ReplacedFile put_named(std::string_view content) {
        Descriptor file;
        const auto make_spare = [&] {
            constexpr int flags = O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC;
            file = Descriptor(::openat(folder_.get(), spare_.c_str(), flags, mode_));
            return file.is_open();
        };
        if (!with_spare_name(make_spare)) return ReplacedFile::not_opened;
        if (fill(file, content) && file.close())
            return take_name() ? ReplacedFile::done : ReplacedFile::not_written;
        drop_spare();
        return ReplacedFile::not_written;
    }

  private:
    bool fill(const Descriptor &file, std::string_view content) const {
        if (!write_all(file, content)) return false;
        if (!old_) return true;
        // Only the superuser may give files away; who else may write this one owns it from now on.
        [[maybe_unused]] const int ignored = ::fchown(file.get(), old_->st_uid, old_->st_gid);
        return ::fchmod(file.get(), mode_) == 0;
    }

    bool link(const Descriptor &file, const std::string &name) const {
        const std::string source = "/proc/self/fd/" + std::to_string(file.get());
        return ::linkat(AT_FDCWD, source.c_str(), folder_.get(), name.c_str(), AT_SYMLINK_FOLLOW) ==
               0;
    }

    // Tries names until one is free: two processes may replace files of one folder at a time.
    template <typename Make>
    bool with_spare_name(Make make) {
        for (unsigned number = 0;; ++number) {
            spare_ = ".vrn-" + std::to_string(::getpid()) + "-" + std::to_string(number) + ".tmp";
            if (make()) return true;
            if (errno != EEXIST) return false;
        }
    }

    bool take_name() const {
        if (::renameat(folder_.get(), spare_.c_str(), folder_.get(), name_.c_str()) == 0)
            return true;
        drop_spare();
        return false;
    }

    void drop_spare() const {
        const int cause = errno;
        ::unlinkat(folder_.get(), spare_.c_str(), 0);
        errno = cause;
    }

    Descriptor folder_;
    std::string name_;
    std::string spare_;  // name of the whole file until it takes that of the old one
    mode_t mode_;
    const struct stat *old_;  // of the file that is replaced, or null
};

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
    Replacement replacement(target, exists ? &status : nullptr);
    if (!replacement.has_folder()) return ReplacedFile::not_opened;
    if (replacement.put_nameless(content) == ReplacedFile::done) return ReplacedFile::done;
    // Also after a nameless file failed for any other reason: /proc may be missing, for one.
    return replacement.put_named(content);
}

}  // namespace vrn
