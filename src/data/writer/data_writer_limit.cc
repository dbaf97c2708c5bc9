#include "data/writer/data_writer_limit.h"

#include <boost/filesystem.hpp>
#include <utility>

#include "utils/log.h"

namespace fs = boost::filesystem;

namespace {

bool remove_file(const std::string &path) {
    try {
        if (fs::exists(path))
            fs::remove(path);
        else
            // Removed by somebody else: its bytes are free all the same, so the entry goes as well.
            VRN_LOG(VRN_LOG_ERROR, "[data_writer] File doesn't exist: %s", path.c_str());
        return true;
    } catch (const fs::filesystem_error &error) {
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] Failed to remove file: %s", error.what());
        return false;
    }
}

}  // namespace

void vrn_written_files_add(vrn_written_files_t *written, const std::string &path) {
    // Files from before this run, or from before the limit was set, are never removed.
    written->files.push_back({path, 0});
}

bool vrn_written_files_count(vrn_written_files_t *written, std::uint64_t bytes) {
    if (written->files.empty()) return false;
    written->files.back().size += bytes;
    written->total_size += bytes;
    return true;
}

void vrn_written_files_enforce_limit(vrn_written_files_t *written, std::uint64_t data_size_limit,
                                     std::uint64_t file_size_limit) {
    if (data_size_limit == 0) {
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] Cannot enforce data size limit, limit unset.");
        return;
    }
    if (written->total_size <= data_size_limit) return;
    auto &files = written->files;
    while (!files.empty()) {
        // An entry that can't be removed stays without its path, so that it is given up next time.
        const std::string path = std::exchange(files.front().path, {});
        if (!remove_file(path)) return;
        written->total_size -= files.front().size;
        files.erase(files.begin());
        // Down to room for one more file, which may take the one that is being written, too.
        // Deliberately without care for overflow.
        if (written->total_size + file_size_limit <= data_size_limit) return;
    }
}
