// What is known of the parts in a folder, also after a kill.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include "utils/descriptor.h"
#include "vrn_export/file_report.h"

namespace vrn::exporter {

// A file of lines, the last one of a part counts: a report line, which is added when the part bears
// its name, or one that only names a part of an earlier run. It begins with a line that tells by
// which options the parts were made. For all threads. Functions throw std::system_error when the
// file can't be read or written.
class PartJournal {
  public:
    // Of parts in `folder`. `options` is one line, without its end; unless `resumes` and the file
    // at `path` was made by the same options, no part can be kept. Throws std::runtime_error when
    // another process is making parts by other options.
    PartJournal(std::string folder, const std::string &path, const std::string &options,
                bool resumes);

    bool has_resumed() const { return has_resumed_; }

    void add(const FileReport &report);
    // To be called before the part's name goes to another file: whatever comes between that and
    // add(), its old line doesn't count for the new file.
    void forget(const std::string &part);

    // The line that was there of a part that may be kept, when the journal was opened.
    std::optional<std::string> find(const std::string &part) const;
    // True when an earlier run made the part, by whatever options, and it is still there.
    bool has_earlier(const std::string &part) const;

  private:
    struct Entry {
        std::uint64_t offset = 0;
        std::uint64_t size = 0;  // of the report line; 0: none that counts
    };

    bool begin(const std::string &options, bool resumes);
    bool is_in_place() const;
    bool load(const std::string &options);
    bool expire_others(const std::string &options) const;
    void write_anew(const std::string &options) const;
    bool is_there(const std::string &part) const;
    void write(const std::string &text);

    std::string folder_;
    std::string path_;
    Descriptor file_;
    bool is_new_ = false;  // this run has begun the file
    bool has_resumed_ = false;
    // By part. As it was when the journal was opened, so that it needs no lock.
    std::unordered_map<std::string, Entry> entries_;
};

}  // namespace vrn::exporter
