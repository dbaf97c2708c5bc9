// The inputs of a run, and what it must not write over.
#pragma once

#include <string>
#include <vector>

#include "common/input_files.h"

namespace vrn::exporter {

// Throws tool::UsageError when parts of the operands below `folder` would come to lie among the
// operands, where a later run would find them.
void refuse_output_among_inputs(const std::vector<std::string> &operands,
                                const std::string &folder);

}  // namespace vrn::exporter
