#include "cli/case_file.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "cli/typed_bytes.h"
#include "support/temp_dir.h"

namespace vrn::test {
namespace {

std::string join(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += line + "\n";
    return text;
}

std::vector<std::string> split(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

CaseSection parse_section_line(const std::string &line) {
    std::istringstream words(line.substr(2));
    CaseSection section;
    words >> section.kind;
    std::getline(words >> std::ws, section.argument);
    return section;
}

bool is_output(const CaseSection &section) {
    return section.kind.starts_with("stdout") || section.kind.starts_with("stderr") ||
           section.kind == "status";
}

std::string hide_times(const std::string &text) {
    static const std::regex time(R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] )");
    return std::regex_replace(text, time, "[TIME] ");
}

void add_output(std::vector<CaseSection> *sections, std::string kind, const std::string &text) {
    if (text.empty()) return;
    if (text.back() != '\n') kind += "-open";
    sections->push_back({kind, "", split(text)});
}

void run_command(const std::string &command, const TempDir &dir, const std::string &tool_dir,
                 std::vector<CaseSection> *outputs) {
    const std::string script =
        dir.write(".run.sh", "cd '" + dir.path() +
                                 "' && mkdir -p work && cd work\n"
                                 "export TZ=UTC PATH='" +
                                 tool_dir + "':\"$PATH\"\n" + command + "\n");
    const std::string out = dir.file(".stdout");
    const std::string err = dir.file(".stderr");
    const int result = std::system(("sh " + script + " >" + out + " 2>" + err).c_str());  // NOLINT
    add_output(outputs, "stdout", read_file(out));
    add_output(outputs, "stderr", hide_times(read_file(err)));
    if (result != 0) outputs->push_back({"status", std::to_string(WEXITSTATUS(result)), {}});
}

void write_input(const CaseSection &section, const std::string &folder, const TempDir &dir) {
    const std::string path = "work/" + section.argument;
    if (section.kind == "file") {
        dir.write(path, join(section.lines));
    } else if (section.kind == "bytes") {
        dir.write(path, parse_typed_bytes(section.lines));
    } else if (section.kind == "include") {
        const CaseFile shared = read_case_file(folder + "/shared/" + section.argument);
        for (const CaseSection &each : shared.sections) write_input(each, folder, dir);
    } else {
        throw std::runtime_error("unknown section " + section.kind);
    }
}

}  // namespace

CaseFile read_case_file(const std::string &path) {
    CaseFile file;
    file.folder = std::filesystem::path(path).parent_path();
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with("== "))
            file.sections.push_back(parse_section_line(line));
        else if (file.sections.empty())
            file.heading.push_back(line);
        else
            file.sections.back().lines.push_back(line);
    }
    if (file.sections.empty()) throw std::runtime_error("no sections in " + path);
    return file;
}

std::string to_text(const CaseFile &file) {
    std::string text = join(file.heading);
    for (const CaseSection &section : file.sections) {
        text += "== " + section.kind;
        if (!section.argument.empty()) text += " " + section.argument;
        text += "\n" + join(section.lines);
    }
    return text;
}

void write_case_file(const std::string &path, const CaseFile &file) {
    std::ofstream(path) << to_text(file);
}

CaseFile run_case(const CaseFile &file, const std::string &tool_dir) {
    const TempDir dir;
    CaseFile result;
    result.heading = file.heading;
    for (const CaseSection &section : file.sections) {
        if (is_output(section)) continue;  // made anew by the run above it
        result.sections.push_back(section);
        if (section.kind == "run")
            run_command(section.argument, dir, tool_dir, &result.sections);
        else
            write_input(section, file.folder, dir);
    }
    return result;
}

}  // namespace vrn::test
