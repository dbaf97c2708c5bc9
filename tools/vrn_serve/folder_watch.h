// What is new in folders: told by the kernel, and found by looking.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/input_files.h"
#include "utils/descriptor.h"

namespace vrn::serve {

struct SeenFile {
    std::string path;
    tool::FileId id;
    std::uint64_t size = 0;
    std::int64_t modified_ns = 0;  // since the epoch
    bool operator==(const SeenFile &) const = default;
};

// Finds the regular files at and below paths that need not exist yet. Links are followed, and no
// folder is entered twice.
class FolderWatch {
  public:
    explicit FolderWatch(std::vector<std::string> paths);

    // Ready to be read when there may be news; -1 where the kernel doesn't tell any.
    int descriptor() const { return events_.get(); }

    // All files, by looking at everything. New folders are watched from now on.
    std::vector<SeenFile> look();

    // Files that were made, written to or moved here since the last call. Sets `has_lost` when some
    // may be missing, so that look() is needed; never clears it.
    std::vector<SeenFile> news(bool *has_lost);

  private:
    void visit(const std::string &path, std::set<tool::FileId> *entered,
               std::vector<SeenFile> *files);
    void watch(const std::string &folder);
    void take_event(int watch, std::uint32_t mask, const std::string &name,
                    std::set<std::string> *paths, bool *has_lost);
    bool is_wanted(const std::string &path) const;

    std::vector<std::string> paths_;
    Descriptor events_;
    std::unordered_map<int, std::string> folders_;  // by watch
    std::set<std::string> whole_folders_;           // of which everything is wanted
    bool told_of_failure_ = false;
};

}  // namespace vrn::serve
