#include "seed_file.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "cli/typed_bytes.h"

namespace vrn::fuzz {
namespace {

std::string read_text(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("can't open " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

std::string read_seed(const std::filesystem::path &path) {
    const std::string text = read_text(path);
    return path.extension() == ".bytes" ? test::parse_typed_bytes(lines_of(text)) : text;
}

}  // namespace vrn::fuzz
