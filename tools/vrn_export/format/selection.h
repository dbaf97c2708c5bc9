// Which records of which files are exported.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "data/data_file_header.h"

namespace vrn::exporter {

// Patterns are shell wildcards over whole names, case counts; an empty list takes all. Times are
// microseconds since the epoch.
struct SelectionOptions {
    std::uint64_t since = 0;
    std::uint64_t until = std::numeric_limits<std::uint64_t>::max();  // not taken itself
    std::vector<std::string> types;                                   // of events
    std::vector<std::string> fields;    // of events, dotted when nested
    std::vector<std::string> counters;  // "name" or "group.name"
    std::vector<std::string> metrics;
    std::vector<std::string> sources;
    std::vector<std::string> tags;
    std::string field_set_file;  // existing set files narrow the above; empty: none
    std::string counter_set_file;
};

}  // namespace vrn::exporter
