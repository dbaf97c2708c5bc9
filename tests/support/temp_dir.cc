#include "support/temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vrn::test {
namespace fs = std::filesystem;

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "vrn-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TempDir::write(std::string_view name, std::string_view content) const {
    const std::string full = file(name);
    fs::create_directories(fs::path(full).parent_path());
    std::ofstream stream(full, std::ios::binary);
    stream << content;
    if (!stream.flush()) throw std::runtime_error("cannot write " + full);
    return full;
}

std::string read_file(const std::string &path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::map<std::string, std::string> files_in(const std::string &dir) {
    std::map<std::string, std::string> files;
    for (const auto &entry : fs::directory_iterator(dir))
        files[entry.path().filename()] = read_file(entry.path());
    return files;
}

}  // namespace vrn::test
