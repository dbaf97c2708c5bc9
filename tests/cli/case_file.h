// End-to-end cases: input files, a shell command and all it must print, in one readable file.
//
//   == file NAME        text until the next "=="
//   == bytes NAME       typed bytes (typed_bytes.h) until the next "=="
//   == include NAME     the files of shared/NAME
//   == run COMMAND      by /bin/sh in a folder that holds the files; the tools are on the PATH
//   == stdout, == stderr    what that run printed; "-open" after the name: no newline at the end
//   == status N
//
// Files may appear before any run; stdout and stderr left out mean nothing printed, status left out
// means 0. Times of log lines read "[TIME]".
#pragma once

#include <string>
#include <vector>

namespace vrn::test {

struct CaseSection {
    std::string kind;      // "file", "bytes", "run", "stdout", "stdout-open", ..., "status"
    std::string argument;  // rest of the "==" line
    std::vector<std::string> lines;
};

struct CaseFile {
    std::string folder;                // that it lies in
    std::vector<std::string> heading;  // comment above the first section
    std::vector<CaseSection> sections;
};

CaseFile read_case_file(const std::string &path);
void write_case_file(const std::string &path, const CaseFile &file);

// Runs the case in a folder of its own with `tool_dir` first on the PATH and returns it with the
// outputs that came out in place of those expected.
CaseFile run_case(const CaseFile &file, const std::string &tool_dir);

std::string to_text(const CaseFile &file);

}  // namespace vrn::test
