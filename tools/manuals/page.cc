#include "manuals/page.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "manuals/roff.h"
#include "vrn_version.h"

namespace vrn::manuals {
namespace {

void replace_version(std::string *line) {
    static const std::string mark = "@VERSION@";
    if (const std::size_t at = line->find(mark); at != line->npos)
        line->replace(at, mark.size(), vrn_version_string());
}

std::string make_page(const std::string &source, const MakePart &make) {
    std::istringstream lines(source);
    std::string page;
    for (std::string line; std::getline(lines, line);) {
        replace_version(&line);
        if (line.size() > 2 && line.front() == '@' && line.back() == '@') {
            const std::string inner = line.substr(1, line.size() - 2);
            const std::size_t blank = std::min(inner.find(' '), inner.size());
            page += make(inner.substr(0, blank), inner.substr(std::min(blank + 1, inner.size())));
        } else {
            page += line + "\n";
        }
    }
    return page;
}

}  // namespace

void write_page(const std::string &sources, const std::string &output, const std::string &name,
                const MakePart &make) {
    write_text(output + "/man/" + name, make_page(read_text(sources + "/" + name + ".in"), make));
}

std::string options_section(const tool::CommandLine &line) {
    std::string text;
    for (const tool::Option *row : tool::list_rows(line)) {
        text += ".TP\n";
        if (row->letter) text += std::string("\\fB\\-") + row->letter + "\\fR, ";
        text += "\\fB" + roff_text(std::string("--") + row->name) + "\\fR";
        if (row->argument) text += std::string(" \\fI") + row->argument + "\\fR";
        text += "\n" + roff_text(row->help) + "\n";
    }
    return text;
}

std::string read_text(const std::string &path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) throw std::runtime_error(path + " can't be read");
    return text.str();
}

void write_text(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path);
    file << text << std::flush;
    if (!file) throw std::runtime_error(path + " can't be written");
}

}  // namespace vrn::manuals
