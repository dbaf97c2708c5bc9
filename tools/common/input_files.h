// The data files that a tool's operands stand for.
#pragma once

#include <sys/stat.h>

#include <compare>
#include <cstdint>
#include <string>
#include <vector>

namespace vrn::tool {

// Tells a file from all others, whatever its path is.
struct FileId {
    FileId() = default;
    explicit FileId(const struct stat &status) : device(status.st_dev), inode(status.st_ino) {}
    auto operator<=>(const FileId &) const = default;

    dev_t device = 0;
    ino_t inode = 0;
};

struct InputFile {
    std::string path;
    FileId id;
    std::uint64_t size = 0;  // bytes on disk; 0 unless it is a regular file
};

// Appends to `files` each operand that is no folder and, for one that is, the data files below it
// in the order of their paths, but for those that are in the list already. Files below a folder
// that are no data files by either end of their header are passed over with a line at information
// level. Links are followed, and no folder is entered twice. False, after error lines, when
// something can't be reached or listed; all the rest is appended.
[[nodiscard]] bool find_input_files(const std::vector<std::string> &operands,
                                    std::vector<InputFile> *files);

std::vector<FileId> ids_of(const std::vector<InputFile> &files);

// What a run reads, which none of its outputs may replace.
class InputIds {
  public:
    InputIds() = default;
    explicit InputIds(std::vector<FileId> ids);

    // True when `path` leads to one of them, under whatever name.
    bool has(const std::string &path) const;
    // Throws std::runtime_error when it does: for outputs whose names show in the middle of a run.
    void spare(const std::string &path) const;

  private:
    std::vector<FileId> ids_;  // sorted
};

// Throws UsageError when `path` leads to one of `inputs`, to a schema or to metadata.
void refuse_output_over_input(const std::string &path, const InputIds &inputs);

// False where standard output is a pipe or a terminal, which can be no input.
bool standard_output_is_file();

// True when `path` leads to the file that standard output is.
bool is_standard_output(const std::string &path);

// Throws UsageError when standard output would add to what refuse_output_over_input() spares; that
// could moreover be read while it grows.
void refuse_output_into_input(const InputIds &inputs);

}  // namespace vrn::tool
