// A folder that goes with its scope.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vrn::test {

class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::string &path() const { return path_; }
    std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }
    // Writes a file, making its folders; returns its path.
    std::string write(std::string_view name, std::string_view content) const;

  private:
    std::string path_;
};

std::string read_file(const std::string &path);  // empty when it can't be read

// Contents by name of what is in a folder; those of folders are empty.
std::map<std::string, std::string> files_in(const std::string &dir);

}  // namespace vrn::test
