// Files that are replaced whole: whoever opens one finds all of its old bytes or all of the new.
#pragma once

#include <string>
#include <string_view>

namespace vrn {

enum class ReplacedFile { done, not_opened, not_written };

// Makes `content` all that the file at `path` holds. It is written to a new file of the same
// folder, which then takes the name, so that a full disk, a kill or another process at the same
// work never leaves a part. A file that holds `content` is not touched; one that is replaced keeps
// its mode, and its owner where that is allowed. Links are followed. Into what is no regular file,
// such as a pipe, the bytes go as they come. Nothing waits for the disk itself.
//
// On failure errno tells the cause, the old file stands, and nothing else is left in the folder.
[[nodiscard]] ReplacedFile replace_file(const std::string &path, std::string_view content);

}  // namespace vrn
