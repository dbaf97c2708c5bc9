// The folder that a run writes its files to, each below the path of its input.
#pragma once

#include <string>
#include <vector>

#include "common/input_files.h"
#include "utils/new_file.h"

namespace vrn::check {

// A path for each file, in order: that of the input without what leads up or to the root. No two
// are the same, and none is a folder of another; those that would be go to a numbered folder.
std::vector<std::string> output_names(const std::vector<tool::InputFile> &files);

// Throws tool::UsageError when `folder`, which need not exist, lies in one of the operands or one
// of the files in it, whatever links lead there.
void refuse_overlap(const std::string &folder, const std::vector<std::string> &operands,
                    const std::vector<tool::InputFile> &files);

class OutputFolder {
  public:
    // Makes the folder. Throws std::system_error.
    explicit OutputFolder(std::string path);

    const std::string &path() const { return path_; }
    // A new file at `name`, whose folders are made. No link in the folder is followed. Throws
    // std::system_error.
    NewFile open(const std::string &name) const;

  private:
    std::string path_;
    Descriptor folder_;
};

}  // namespace vrn::check
