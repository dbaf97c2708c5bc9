// An output file that appears when it is whole.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "utils/new_file.h"

namespace vrn::exporter {

// Functions throw std::system_error with the path when the file can't take it.
class WholeFile {
  public:
    // Makes the folders above it, too.
    explicit WholeFile(const std::string &path);

    void write(std::string_view bytes);
    // Bytes written so far.
    std::uint64_t size() const { return size_; }
    // Takes the place of what bears the name.
    void finish();
    // The file's time of change becomes that of `other`.
    void take_time(const struct stat &other);

  private:
    [[noreturn]] void fail() const;

    std::string path_;
    std::uint64_t size_ = 0;
    std::optional<NewFile> file_;
};

}  // namespace vrn::exporter
