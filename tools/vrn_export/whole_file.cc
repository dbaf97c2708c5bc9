#include "vrn_export/whole_file.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "utils/descriptor.h"
#include "utils/write_all.h"

namespace vrn::exporter {
namespace {

Descriptor open_folder(const std::filesystem::path &path) {
    const char *name = path.empty() ? "." : path.c_str();
    return Descriptor(::open(name, O_PATH | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

WholeFile::WholeFile(const std::string &path) : path_(path) {
    constexpr mode_t mode = 0666;
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    Descriptor folder = open_folder(parent);
    if (!folder.is_open()) {
        // Tried after: of a folder's files only the first finds no folder.
        std::error_code error;
        std::filesystem::create_directories(parent, error);
        folder = open_folder(parent);
    }
    if (folder.is_open())
        file_.emplace(NewFile::in(std::move(folder), std::filesystem::path(path).filename(), mode));
    if (!file_ || !file_->is_open()) fail();
}

void WholeFile::write(std::string_view bytes) {
    if (!write_all(file_->descriptor().get(), bytes)) fail();
    size_ += bytes.size();
}

void WholeFile::take_time(const struct stat &other) {
    const timespec times[] = {other.st_atim, other.st_mtim};
    if (futimens(file_->descriptor().get(), times) != 0) fail();
}

void WholeFile::finish() {
    if (!file_->take_name()) fail();
    file_.reset();
}

void WholeFile::fail() const {
    throw std::system_error(errno, std::generic_category(), path_);
}

}  // namespace vrn::exporter
