#include "vrn_export/part_journal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "common/json_string.h"
#include "common/shown_text.h"
#include "utils/write_all.h"
#include "vrn_export/json_line.h"
#include "vrn_export/report_text.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {
namespace {

// In a journal whose parts may since have been replaced by those of other options. Begins a line of
// its own also after one that a kill cut short.
constexpr char expired_line[] = "\n{\"expired\":true}\n";

[[noreturn]] void fail(const std::string &path) {
    throw std::system_error(errno, std::generic_category(), path);
}

std::string earlier_line(const std::string &part) {
    return "{\"earlier\":" + tool::json_string(part) + "}\n";
}

// False when another process has a lock that doesn't go with it.
bool lock(const Descriptor &file, int kind) {
    // Where the file system knows no locks, all goes on without.
    return ::flock(file.get(), kind | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

// False while another run appends to it.
bool expire(const std::string &path) {
    const Descriptor file(::open(path.c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
    if (!file.is_open()) fail(path);
    if (!lock(file, LOCK_EX)) return false;
    if (!write_all(file.get(), expired_line)) fail(path);
    return true;
}

}  // namespace

PartJournal::PartJournal(std::string folder, const std::string &path, const std::string &options,
                         bool resumes)
    : folder_(std::move(folder)), path_(path) {
    using namespace std::chrono_literals;
    // Processes that start together are in each other's way for a moment.
    const auto end = std::chrono::steady_clock::now() + 1s;
    while (!begin(options, resumes)) {
        if (std::chrono::steady_clock::now() > end)
            throw std::runtime_error("another run is making parts in " + tool::shown_text(folder_) +
                                     " by other options");
        std::this_thread::sleep_for(10ms);
    }
}

// False when another process is in the way. Those of the same options may work together: lines go
// to the end, each in one write. Who begins the file anew must be alone with it.
bool PartJournal::begin(const std::string &options, bool resumes) {
    file_ = Descriptor(::open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
    if (!file_.is_open()) fail(path_);
    const bool is_alone = lock(file_, LOCK_EX);
    if ((!is_alone && !lock(file_, LOCK_SH)) || !is_in_place()) return false;
    const bool is_same = load(options);
    if (!is_alone && !is_same) return false;
    if (is_alone && !(is_same && (resumes || is_new_))) {
        is_new_ = expire_others(options);
        if (is_new_) write_anew(options);
        return false;
    }
    has_resumed_ = resumes && !is_new_;
    if (!lock(file_, LOCK_SH) || !is_in_place()) return false;
    // After a kill amid a line.
    write("\n");
    return true;
}

bool PartJournal::is_in_place() const {
    struct stat opened {};
    struct stat named {};
    if (fstat(file_.get(), &opened) != 0) fail(path_);
    return stat(path_.c_str(), &named) == 0 && identity_of(opened) == identity_of(named);
}

// False when the entries are of other options.
bool PartJournal::load(const std::string &options) {
    entries_.clear();
    std::ifstream file(path_, std::ios::binary);
    std::string line;
    if (!std::getline(file, line)) return false;
    bool is_same = line == options;
    std::uint64_t offset = line.size() + 1;
    // A line that a kill cut short doesn't parse, and its part is made anew.
    for (FileReport report; std::getline(file, line); offset += line.size() + 1) {
        if (parse_report_line(line, &report)) {
            if (!report.part.empty()) entries_[report.part] = {offset, line.size()};
            continue;
        }
        const JsonLine json(line);
        if (json.has_text("earlier")) entries_[json.text("earlier")] = {};
        is_same &= !json.flag("expired", false);
    }
    return is_same;
}

// Another number of shards has other journals, but the same parts. False when one is in use.
bool PartJournal::expire_others(const std::string &options) const {
    const std::filesystem::path path(path_);
    for (const auto &entry : std::filesystem::directory_iterator(path.parent_path())) {
        if (entry.path() == path || entry.path().extension() != path.extension()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        std::string line;
        if (std::getline(file, line) && line != options && !expire(entry.path())) return false;
    }
    return true;
}

// A new file takes the place of the old one, so that a kill leaves what is known.
void PartJournal::write_anew(const std::string &options) const {
    constexpr std::size_t max_waiting = 32768;
    WholeFile file(path_);
    std::string text = options + "\n";
    for (const auto &[part, entry] : entries_) {
        if (is_there(part)) text += earlier_line(part);
        if (text.size() < max_waiting) continue;
        file.write(text);
        text.clear();
    }
    file.write(text);
    file.finish();
}

bool PartJournal::is_there(const std::string &part) const {
    return access((folder_ + "/" + part).c_str(), F_OK) == 0;
}

void PartJournal::add(const FileReport &report) {
    write(report_line(report));
}

void PartJournal::forget(const std::string &part) {
    const auto found = entries_.find(part);
    if (found != entries_.end() && found->second.size > 0) write("\n" + earlier_line(part));
}

void PartJournal::write(const std::string &text) {
    if (!write_all(file_.get(), text)) fail(path_);
}

std::optional<std::string> PartJournal::find(const std::string &part) const {
    const auto found = entries_.find(part);
    if (!has_resumed_ || found == entries_.end() || found->second.size == 0) return std::nullopt;
    std::string line(found->second.size, '\0');
    // By pread(), since threads share the descriptor and its position.
    const ssize_t count =
        ::pread(file_.get(), line.data(), line.size(), static_cast<off_t>(found->second.offset));
    if (count != static_cast<ssize_t>(line.size())) fail(path_);
    return line + "\n";
}

bool PartJournal::has_earlier(const std::string &part) const {
    return entries_.contains(part) && is_there(part);
}

}  // namespace vrn::exporter
