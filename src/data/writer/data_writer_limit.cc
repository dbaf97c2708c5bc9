#include "data/writer/data_writer_limit.h"

#include <boost/filesystem.hpp>
#include <utility>

#include "data/writer/data_writer.h"
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

void vrn_data_writer_note_file(vrn_data_writer_t *writer, const std::string &path) {
    // Files from before this run, or from before the limit was set, are never removed.
    writer->written_files.push_back({path, 0});
}

void vrn_data_writer_note_bytes(vrn_data_writer_t *writer, std::uint64_t bytes) {
    if (writer->written_files.empty()) return;
    writer->written_files.back().size += bytes;
    writer->total_size += bytes;
    vrn_data_writer_enforce_limit(writer);
}

void vrn_data_writer_enforce_limit(vrn_data_writer_t *writer) {
    if (writer->data_size_limit == 0) {
        VRN_LOG(VRN_LOG_ERROR, "[data_writer] Cannot enforce data size limit, limit unset.");
        return;
    }
    if (writer->total_size <= writer->data_size_limit) return;
    auto &files = writer->written_files;
    while (!files.empty()) {
        // An entry that can't be removed stays without its path, so that it is given up next time.
        const std::string path = std::exchange(files.front().path, {});
        if (!remove_file(path)) return;
        writer->total_size -= files.front().size;
        files.erase(files.begin());
        // Down to room for one more file, which may take the one that is being written, too.
        if (writer->total_size + writer->file_size_limit <= writer->data_size_limit) return;
    }
}
