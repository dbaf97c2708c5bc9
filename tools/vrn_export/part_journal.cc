#include "vrn_export/part_journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

#include "utils/write_all.h"
#include "vrn_export/report_text.h"

namespace vrn::exporter {
namespace {

[[noreturn]] void fail(const std::string &path) {
    throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

PartJournal::PartJournal(const std::string &path, const std::string &options, bool resumes)
    : path_(path) {
    has_resumed_ = resumes && load(options);
    // Each line goes in one write to the end: a second process at the same work does no harm.
    const int flags = O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | (has_resumed_ ? 0 : O_TRUNC);
    file_ = Descriptor(::open(path.c_str(), flags, 0666));
    if (!file_.is_open()) fail(path);
    // After a kill amid a line, or to begin with.
    write(has_resumed_ ? "\n" : options + "\n");
}

bool PartJournal::load(const std::string &options) {
    std::ifstream file(path_, std::ios::binary);
    std::string line;
    if (!std::getline(file, line) || line != options) return false;
    FileReport report;
    std::uint64_t offset = line.size() + 1;
    // A line that a kill cut short doesn't parse, and its part is made anew.
    for (; std::getline(file, line); offset += line.size() + 1)
        if (parse_report_line(line, &report) && !report.part.empty())
            lines_[report.part] = {offset, line.size()};
    return true;
}

// Lines of this run aren't looked up again: `lines_` stays as it was loaded and needs no lock.
void PartJournal::add(const std::string &line) {
    write(line);
}

void PartJournal::write(const std::string &text) {
    if (!write_all(file_.get(), text)) fail(path_);
}

std::optional<std::string> PartJournal::find(const std::string &part) const {
    const auto found = lines_.find(part);
    if (found == lines_.end()) return std::nullopt;
    std::string line(found->second.size, '\0');
    // By pread(), since threads share the descriptor and its position.
    const ssize_t count =
        ::pread(file_.get(), line.data(), line.size(), static_cast<off_t>(found->second.offset));
    if (count != static_cast<ssize_t>(line.size())) fail(path_);
    return line + "\n";
}

}  // namespace vrn::exporter
