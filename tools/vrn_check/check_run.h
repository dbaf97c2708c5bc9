// The check of many files by several threads.
#pragma once

#include <string>
#include <vector>

#include "common/input_files.h"
#include "vrn_check/fault_text.h"

namespace vrn::check {

struct CheckOptions {
    Form form = Form::text;
    unsigned threads = 1;     // at least 1
    std::string schema_path;  // empty: where vrn_read would look
    std::string salvage_dir;  // empty: nothing is written
};

// Prints a line for each fault, in the order of `files`, and one for the run. Throws
// std::system_error when no thread can be had or `salvage_dir` can't be made, and what a thread
// threw.
Totals check_files(const std::vector<tool::InputFile> &files, const CheckOptions &options);

}  // namespace vrn::check
