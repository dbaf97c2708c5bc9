// What is known of the parts in a folder, also after a kill.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "utils/descriptor.h"
#include "vrn_export/file_report.h"

namespace vrn::exporter {

// A file of report lines, one of them written before each part gets its name; the last one of a
// part counts. It begins with a line that tells by which options the parts were made. For all
// threads. Functions throw std::system_error when the file can't be read or written.
class PartJournal {
  public:
    // Begins anew unless `resumes` and the file at `path` was made by the same options. `options`
    // is one line, without its end.
    PartJournal(const std::string &path, const std::string &options, bool resumes);

    // False when there was a journal of other options.
    bool has_resumed() const { return has_resumed_; }

    void add(const std::string &line);
    // The line that was there of a part when the journal was opened.
    std::optional<std::string> find(const std::string &part) const;

  private:
    struct Line {
        std::uint64_t offset;
        std::uint64_t size;
    };

    bool load(const std::string &options);
    void write(const std::string &text);

    std::string path_;
    Descriptor file_;
    bool has_resumed_ = false;
    std::unordered_map<std::string, Line> lines_;  // by part
};

}  // namespace vrn::exporter
