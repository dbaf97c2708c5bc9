#include "vrn_serve/folder_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

#include "utils/byte_reader.h"
#include "utils/log.h"

namespace vrn::serve {
namespace {

// IN_ONLYDIR: a file that took the place of a folder isn't watched instead.
constexpr std::uint32_t watched_events = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO |
                                         IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
// Any event fits in: a name has 255 bytes at most.
constexpr std::size_t event_room = 64 << 10;

SeenFile seen_file(const std::string &path, const struct stat &status) {
    constexpr std::int64_t second_ns = 1'000'000'000;
    return {path, tool::FileId(status), static_cast<std::uint64_t>(status.st_size),
            status.st_mtim.tv_sec * second_ns + status.st_mtim.tv_nsec};
}

std::string parent_of(const std::string &path) {
    const std::string parent = std::filesystem::path(path).parent_path();
    return parent.empty() ? "." : parent;
}

}  // namespace

FolderWatch::FolderWatch(std::vector<std::string> paths)
    : paths_(std::move(paths)), events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (!events_.is_open())
        VRN_LOG(VRN_LOG_WARNING, "Files are looked at from time to time only: %s",
                std::strerror(errno));
}

std::vector<SeenFile> FolderWatch::look() {
    std::set<tool::FileId> entered;
    std::vector<SeenFile> files;
    for (const std::string &path : paths_) visit(path, &entered, &files);
    return files;
}

std::vector<SeenFile> FolderWatch::news(bool *has_lost) {
    // A burst of writes to a file is one visit.
    std::set<std::string> paths;
    alignas(inotify_event) char buffer[event_room];
    for (;;) {
        const ssize_t size = events_.is_open() ? ::read(events_.get(), buffer, sizeof buffer) : -1;
        if (size <= 0) break;
        Bytes rest(reinterpret_cast<const std::uint8_t *>(buffer), static_cast<std::size_t>(size));
        // The kernel hands over whole records only.
        while (rest.size() >= sizeof(inotify_event)) {
            const auto event = load_le<inotify_event>(rest.data());
            const char *name = reinterpret_cast<const char *>(rest.data()) + sizeof event;
            take_event(event.wd, event.mask, std::string(name, strnlen(name, event.len)), &paths,
                       has_lost);
            rest = rest.subspan(sizeof event + event.len);
        }
    }
    std::set<tool::FileId> entered;
    std::vector<SeenFile> files;
    for (const std::string &path : paths) visit(path, &entered, &files);
    return files;
}

void FolderWatch::take_event(int watch, std::uint32_t mask, const std::string &name,
                             std::set<std::string> *paths, bool *has_lost) {
    // A folder that went may come back under its name; only a look finds out.
    if ((mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
        *has_lost = true;
        // The watch goes with the folder to its new place, which is none of ours.
        if ((mask & IN_MOVE_SELF) != 0) inotify_rm_watch(events_.get(), watch);
        if ((mask & IN_IGNORED) != 0) folders_.erase(watch);
        return;
    }
    const auto folder = folders_.find(watch);
    if (folder == folders_.end() || name.empty()) return;
    const std::string path = folder->second + "/" + name;
    if (whole_folders_.contains(folder->second) || is_wanted(path)) paths->insert(path);
}

// An operand may be spelled otherwise than folder and name together ("./a" and "a").
bool FolderWatch::is_wanted(const std::string &path) const {
    std::error_code error;
    return std::ranges::any_of(paths_, [&](const std::string &wanted) {
        return wanted == path || std::filesystem::equivalent(wanted, path, error);
    });
}

void FolderWatch::visit(const std::string &path, std::set<tool::FileId> *entered,
                        std::vector<SeenFile> *files) {
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    // Of a file by name, and of one that isn't there yet, the folder tells.
    if ((!exists || S_ISREG(status.st_mode)) && std::ranges::find(paths_, path) != paths_.end())
        watch(parent_of(path));
    if (!exists) return;
    if (S_ISREG(status.st_mode)) return files->push_back(seen_file(path, status));
    if (!S_ISDIR(status.st_mode) || !entered->insert(tool::FileId(status)).second) return;
    // Before it is listed, so that nothing comes between the two.
    watch(path);
    whole_folders_.insert(path);
    std::error_code error;
    for (std::filesystem::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error))
        visit(entry->path(), entered, files);
}

void FolderWatch::watch(const std::string &folder) {
    if (!events_.is_open()) return;
    const int watch = inotify_add_watch(events_.get(), folder.c_str(), watched_events);
    if (watch >= 0) {
        folders_[watch] = folder;
        return;
    }
    // Other failures are of this folder alone, which is gone or closed to us; the limit hits all.
    if (errno != ENOSPC || std::exchange(told_of_failure_, true)) return;
    VRN_LOG(VRN_LOG_WARNING,
            "Too many folders to watch (fs.inotify.max_user_watches): others are looked at from "
            "time to time only");
}

}  // namespace vrn::serve
