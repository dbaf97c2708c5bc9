#include "sql/file_set.h"

#include <glob.h>

#include <algorithm>
#include <filesystem>

namespace vrn::sql {
namespace {

namespace fs = std::filesystem;

class Glob {
  public:
    explicit Glob(const std::string &pattern) {
        // A failure leaves nothing found, which is told as for a pattern that fits no file.
        glob(pattern.c_str(), GLOB_MARK, nullptr, &found_);
    }
    ~Glob() { globfree(&found_); }
    Glob(const Glob &) = delete;
    Glob &operator=(const Glob &) = delete;
    std::vector<std::string> paths() const {
        return {found_.gl_pathv, found_.gl_pathv + found_.gl_pathc};
    }

  private:
    glob_t found_{};
};

std::vector<std::string> files_below(const std::string &folder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        // A file may go while the folder is read.
        if (std::error_code lost; entry->is_regular_file(lost)) paths.push_back(entry->path());
    if (error) throw QueryError(folder + ": " + error.message());
    // Rows then don't come in the order of the file system.
    std::ranges::sort(paths);
    return paths;
}

class FileSearch {
  public:
    explicit FileSearch(const std::string &schema_folder) : schema_folder_(schema_folder) {}

    void take(const std::string &path) {
        std::error_code error;
        if (fs::is_directory(path, error)) return take_ours(files_below(path));
        // A file may have such letters in its name: it goes before the pattern.
        if (path.find_first_of("*?[") != path.npos && !fs::exists(path, error))
            return take_ours(Glob(path).paths());
        // Named, so that it is none is a fault, which is told by who reads it.
        files.push_back(file_catalog().get(path, schema_folder_));
    }

    FileSet files{};

  private:
    void take_ours(const std::vector<std::string> &paths) {
        for (const std::string &path : paths) {
            std::error_code error;
            if (!fs::is_regular_file(path, error)) continue;
            auto file = file_catalog().get(path, schema_folder_);
            if (file->is_ours || !file->open_error.empty()) files.push_back(std::move(file));
        }
    }

    const std::string &schema_folder_;
};

[[noreturn]] void fail_without(const FileSet &files, const std::vector<std::string> &paths) {
    for (const auto &file : files)
        if (!file->open_error.empty()) throw QueryError(file->path + ": " + file->open_error);
    throw QueryError(paths.empty() ? std::string("no files are given")
                                   : "there is no data file in " + paths[0]);
}

}  // namespace

FileCatalog &file_catalog() {
    static FileCatalog catalog;
    return catalog;
}

FileSet find_files(const std::vector<std::string> &paths, const std::string &schema_folder) {
    FileSearch search(schema_folder);
    for (const std::string &path : paths) search.take(path);
    if (std::ranges::none_of(search.files, [](const auto &file) { return file->is_ours; }))
        fail_without(search.files, paths);
    return std::move(search.files);
}

FileSet files_in_time(const FileSet &files, const RecordFilter &filter) {
    FileSet taken;
    std::ranges::copy_if(files, std::back_inserter(taken), [&](const auto &file) {
        return filter.takes_span(file->header.first_timestamp, file->header.last_timestamp);
    });
    return taken;
}

}  // namespace vrn::sql
