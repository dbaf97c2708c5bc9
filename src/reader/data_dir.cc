#include "reader/data_dir.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "utils/file_ptr.h"

namespace {

constexpr std::size_t max_path_length = 4095;

// All levels share one path, so that a level takes little of the stack however deep the tree is.
class FolderWalk {
  public:
    FolderWalk(vrn_reader_options_t *options, const char *path) : options_(options), path_(path) {}

    // Takes the files below the folder at `path_`, which is the same again on success.
    bool take_folder() {
        const vrn::FolderPtr folder(opendir(path_.c_str()));
        if (!folder) {
            std::fprintf(stderr, "Failed to open directory '%s': %s\n", path_.c_str(),
                         std::strerror(errno));
            return false;
        }
        const std::size_t length = path_.size();
        while (const dirent *entry = readdir(folder.get())) {
            const std::string_view name = entry->d_name;
            if (name == "." || name == "..") continue;
            if (!take_entry(name)) return false;
            path_.resize(length);
        }
        return true;
    }

  private:
    bool take_entry(std::string_view name) {
        const std::size_t folder_length = path_.size();
        path_.append("/").append(name);
        if (path_.size() > max_path_length) path_.resize(max_path_length);
        // A link that leads nowhere has no status and ends the whole walk.
        struct stat status {};
        if (!stat_path(folder_length, &status)) {
            std::fprintf(stderr, "Failed to stat path '%s': %s\n", path_.c_str(),
                         std::strerror(errno));
            return false;
        }
        if (S_ISDIR(status.st_mode)) return take_folder();
        // Links count as what they point at; pipes and devices are no input.
        if (!S_ISREG(status.st_mode)) return true;
        if (vrn_string_array_append(&options_->data_files, path_.c_str())) return true;
        std::fprintf(stderr, "Failed appending '%s' to the list of counters: %s\n", path_.c_str(),
                     std::strerror(errno));
        return false;
    }

    // A path that was cut back to its folder would walk that folder again, without end.
    bool stat_path(std::size_t folder_length, struct stat *status) const {
        if (path_.size() > folder_length + 1) return stat(path_.c_str(), status) == 0;
        errno = ENAMETOOLONG;
        return false;
    }

    vrn_reader_options_t *options_;
    std::string path_;
};

}  // namespace

bool vrn_reader_add_data_dir(vrn_reader_options_t *options, const char *path) {
    try {
        return FolderWalk(options, path).take_folder();
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "Failed to open directory '%s': %s\n", path, std::strerror(ENOMEM));
        return false;
    }
}
