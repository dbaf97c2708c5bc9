#include "common/input_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <system_error>

#include "common/command_line.h"
#include "common/shown_text.h"
#include "counters/metadata.h"
#include "data/compressed_page.h"
#include "data/data_file_header.h"
#include "data/magic.h"
#include "scan/byte_source.h"
#include "scan/schema_folder.h"
#include "utils/descriptor.h"
#include "utils/log.h"

namespace vrn::tool {
namespace {

bool fail(const std::string &path, const std::string &cause) {
    VRN_LOG(VRN_LOG_ERROR, "%s: can't be read: %s", path.c_str(), cause.c_str());
    return false;
}

std::string lost_input(const std::string &path) {
    return shown_text(path) + " is an input, and would be replaced";
}

// Which of a folder's schemas and metadata a run reads shows only as it reads; none is ever made by
// it.
bool is_beside_data(const std::string &path) {
    std::error_code error;
    const std::string name = std::filesystem::canonical(path, error).filename();
    return !error && (scan::is_schema_file_name(name) || vrn_metadata_is_file_name(name));
}

std::uint64_t size_of(const struct stat &status) {
    return S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool has_header_mark(const char *header, std::size_t size) {
    if (size >= VRN_MAGIC_SIZE && vrn_magic_matches(header, VRN_MAGIC_FILE)) return true;
    vrn_data_file_header_t fields;
    if (size < sizeof fields) return false;
    std::memcpy(&fields, header, sizeof fields);
    return std::string_view(fields.magic_end, sizeof fields.magic_end) == "vrnf";
}

// Of most files this is all that is read here: a ByteSource reads far more than a header.
bool is_plain_data_file(const std::string &path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char header[sizeof(vrn_data_file_header_t)];
    const ssize_t size = file.is_open() ? ::read(file.get(), header, sizeof header) : 0;
    return size > 0 && has_header_mark(header, static_cast<std::size_t>(size));
}

// True when `path` was read and neither begins as data files do nor ends its header so: one of the
// two may be damaged. What can't be read is left to whoever reads the whole file.
bool is_other_file(const std::string &path) {
    if (is_plain_data_file(path)) return false;
    const auto source = ByteSource::open_path(path.c_str());
    if (!source) return false;
    char header[sizeof(vrn_data_file_header_t)];
    const std::size_t size = source->read(header, sizeof header);
    if (has_header_mark(header, size)) return false;
    return size == sizeof header || source->state() == ByteSource::State::ended;
}

class InputSearch {
  public:
    explicit InputSearch(std::vector<InputFile> *files) : files_(files) {}

    bool take_operand(const std::string &path) {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0) return fail(path, std::strerror(errno));
        if (S_ISDIR(status.st_mode)) return take_folder(path, status);
        // Named by the user, so taken as it is: even twice, and even if it doesn't look like a data
        // file.
        files_->push_back({path, FileId(status), size_of(status)});
        taken_.insert(FileId(status));
        return true;
    }

  private:
    bool take_folder(const std::string &path, const struct stat &status) {
        folders_.insert(FileId(status));
        std::vector<std::string> pending = {path};
        std::vector<InputFile> found;
        bool good = true;
        while (!pending.empty()) {
            const std::string folder = std::move(pending.back());
            pending.pop_back();
            std::vector<std::string> entries;
            good &= list_folder(folder, &entries);
            for (std::string &entry : entries) good &= sort_out(std::move(entry), &pending, &found);
        }
        // In the order of paths, not of folders: results then don't depend on the file system.
        std::ranges::sort(found, {}, &InputFile::path);
        std::ranges::for_each(found, [&](InputFile &file) { take_found(std::move(file)); });
        return good;
    }

    // The paths in it in order, so that of two links to a folder the same one is entered each time.
    static bool list_folder(const std::string &folder, std::vector<std::string> *entries) {
        std::error_code error;
        for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error))
            entries->push_back(entry->path());
        std::ranges::sort(*entries);
        return !error || fail(folder, error.message());
    }

    bool sort_out(std::string path, std::vector<std::string> *folders,
                  std::vector<InputFile> *found) {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0) {
            // A link to nothing is common in folders of data that are cleaned up.
            if (errno != ENOENT && errno != ELOOP) return fail(path, std::strerror(errno));
            VRN_LOG(VRN_LOG_INFO, "%s: leads to no file, passed over", path.c_str());
        } else if (S_ISDIR(status.st_mode)) {
            // Links may lead back up: each folder is entered once.
            if (folders_.insert(FileId(status)).second) folders->push_back(std::move(path));
        } else if (S_ISREG(status.st_mode)) {
            // Of pipes and devices nothing is taken: they may have no end.
            found->push_back({std::move(path), FileId(status), size_of(status)});
        }
        return true;
    }

    void take_found(InputFile file) {
        if (taken_.contains(file.id)) return;
        if (is_other_file(file.path)) {
            VRN_LOG(VRN_LOG_INFO, "%s: is no data file, passed over", file.path.c_str());
            return;
        }
        taken_.insert(file.id);
        files_->push_back(std::move(file));
    }

    std::vector<InputFile> *files_;
    std::set<FileId> folders_;  // entered, or about to be
    std::set<FileId> taken_;
};

}  // namespace

bool find_input_files(const std::vector<std::string> &operands, std::vector<InputFile> *files) {
    InputSearch search(files);
    bool good = true;
    // One that fails doesn't keep the others from being read.
    for (const std::string &path : operands) good &= search.take_operand(path);
    return good;
}

std::vector<FileId> ids_of(const std::vector<InputFile> &files) {
    std::vector<FileId> ids;
    ids.reserve(files.size());
    for (const InputFile &file : files) ids.push_back(file.id);
    return ids;
}

InputIds::InputIds(std::vector<FileId> ids) : ids_(std::move(ids)) {
    std::ranges::sort(ids_);
}

bool InputIds::has(const std::string &path) const {
    struct stat status {};
    // Devices and pipes lose nothing by being written.
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           std::ranges::binary_search(ids_, FileId(status));
}

void InputIds::spare(const std::string &path) const {
    if (has(path)) throw std::runtime_error(lost_input(path));
}

void refuse_output_over_input(const std::string &path, const InputIds &inputs) {
    if (inputs.has(path) || is_beside_data(path)) throw UsageError(lost_input(path));
}

bool standard_output_is_file() {
    struct stat status {};
    return fstat(STDOUT_FILENO, &status) == 0 && S_ISREG(status.st_mode);
}

bool is_standard_output(const std::string &path) {
    struct stat file {};
    struct stat output {};
    return standard_output_is_file() && stat(path.c_str(), &file) == 0 &&
           fstat(STDOUT_FILENO, &output) == 0 && FileId(file) == FileId(output);
}

void refuse_output_into_input(const InputIds &inputs) {
    constexpr char output[] = "/proc/self/fd/1";
    if (!standard_output_is_file() || !(inputs.has(output) || is_beside_data(output))) return;
    std::error_code error;
    throw UsageError("standard output is the input " +
                     shown_text(std::filesystem::canonical(output, error).filename().native()));
}

}  // namespace vrn::tool
