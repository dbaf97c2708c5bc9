// Data files in the order of their times.
#pragma once

#include <vector>

#include "common/input_files.h"

namespace vrn::series {

// Sorts by the time of the first data, as the headers tell it, the oldest first: a series takes
// samples in the order in which they come. Files of one time, and without any, stay in their order.
void sort_by_time(std::vector<tool::InputFile> *files);

}  // namespace vrn::series
