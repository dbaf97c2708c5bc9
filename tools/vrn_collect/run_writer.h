// The data writer of a run, and what of its options can't be meant.
#pragma once

#include <string>
#include <vector>

#include "data/writer/data_writer.h"
#include "vrn_collect/collect_options.h"

namespace vrn::collect {

// What the writer is going to be given.
struct StreamPlan {
    std::string source;
    std::string tag;
    std::uint32_t chunk_size;  // bytes of a page's data
    std::uint32_t is_not_counters;
};

// A writer of DIR/data under the limits, templates and filters of `options`. Touches no file.
// Throws tool::UsageError when the options keep nothing, would store what can't be read or
// contradict each other, and std::runtime_error for files of names that can't be read.
[[nodiscard]] vrn_data_writer_ptr make_run_writer(const CollectOptions &options,
                                                  const std::vector<StreamPlan> &streams);

}  // namespace vrn::collect
