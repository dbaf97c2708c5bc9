#include "vrn_check/output_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>

#include "common/command_line.h"

namespace vrn::check {
namespace {

namespace fs = std::filesystem;

constexpr int folder_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

fs::path inner_path(const std::string &path) {
    // Parts that lead up would lead out of the output folder.
    fs::path inner;
    for (const fs::path &part : fs::path(path).relative_path())
        if (part != ".." && part != "." && !part.empty()) inner /= part;
    return inner;
}

// Names that were given away, and the folders that they need.
class TakenNames {
  public:
    // No file may have the name of a folder that another needs, nor lie below a file.
    bool take(const fs::path &name) {
        if (files_.contains(name) || folders_.contains(name)) return false;
        for (fs::path folder = name.parent_path(); !folder.empty(); folder = folder.parent_path())
            if (files_.contains(folder)) return false;
        for (fs::path folder = name.parent_path(); !folder.empty(); folder = folder.parent_path())
            folders_.insert(folder);
        return files_.insert(name).second;
    }

  private:
    std::set<std::string> files_, folders_;
};

bool is_within(const fs::path &path, const fs::path &folder) {
    return std::ranges::mismatch(folder, path).in1 == folder.end();
}

fs::path resolved(const std::string &path) {
    // The root has an empty last part otherwise, and so has what ends with a slash.
    const fs::path whole = fs::weakly_canonical(fs::absolute(path));
    return whole.has_filename() ? whole : whole.parent_path();
}

std::string quoted(const std::string &path, const char *note) {
    return "'" + path + "'" + note;
}

[[noreturn]] void refuse(const std::string &inner, const std::string &outer) {
    throw tool::UsageError(inner + " lies in " + outer);
}

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

std::vector<std::string> output_names(const std::vector<tool::InputFile> &files) {
    TakenNames taken;
    std::vector<std::string> names;
    names.reserve(files.size());
    for (const tool::InputFile &file : files) {
        const fs::path inner = inner_path(file.path);
        fs::path name = inner;
        for (unsigned number = 2; !taken.take(name); ++number)
            name = fs::path(std::to_string(number)) / inner;
        names.push_back(name);
    }
    return names;
}

void refuse_overlap(const std::string &folder, const std::vector<std::string> &operands,
                    const std::vector<tool::InputFile> &files) {
    const fs::path output = resolved(folder);
    for (const std::string &operand : operands)
        if (is_within(output, resolved(operand)))
            refuse(quoted(folder, ""), quoted(operand, ", which is read"));
    for (const tool::InputFile &file : files)
        if (is_within(resolved(file.path), output))
            refuse(quoted(file.path, ", which is read,"), quoted(folder, ""));
}

OutputFolder::OutputFolder(std::string path) : path_(std::move(path)) {
    // Whether that failed shows in the next call, with the better cause.
    std::error_code error;
    fs::create_directories(path_, error);
    folder_ = Descriptor(::open(path_.c_str(), folder_flags));
    if (!folder_.is_open()) fail(path_);
}

NewFile OutputFolder::open(const std::string &name) const {
    const fs::path path = name;
    // Step by step and without following links: one that was put there must not lead out.
    Descriptor folder(::openat(folder_.get(), ".", folder_flags));
    for (const fs::path &part : path.parent_path()) {
        if (::mkdirat(folder.get(), part.c_str(), 0777) != 0 && errno != EEXIST) fail(name);
        folder = Descriptor(::openat(folder.get(), part.c_str(), folder_flags | O_NOFOLLOW));
        if (!folder.is_open()) fail(name);
    }
    NewFile file = NewFile::in(std::move(folder), path.filename(), 0666);
    if (!file.is_open()) fail(name);
    return file;
}

}  // namespace vrn::check
