// Which records of which files are exported.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "data/data_file_header.h"

namespace vrn::exporter {

// Patterns are shell wildcards over whole names, case counts; an empty list takes all. But what
// selects among events (types, fields, a field set), counters or metrics leaves out the kinds
// without a selection. Times are microseconds since the epoch. Files and pages whose headers name
// other sources, tags or times are passed over unseen.
struct SelectionOptions {
    std::uint64_t since = 0;
    std::uint64_t until = std::numeric_limits<std::uint64_t>::max();  // not taken itself
    std::vector<std::string> types{};                                 // of events
    // Of events, dotted when nested, without indexes of arrays ("track.x"); what is below a field
    // comes with it. Events without a selected field are left out.
    std::vector<std::string> fields{};
    std::vector<std::string> counters{};  // "name" or "group.name"
    std::vector<std::string> metrics{};   // and histograms
    std::vector<std::string> sources{};
    std::vector<std::string> tags{};
    std::string field_set_file{};  // existing set files narrow the above; empty: none
    std::string counter_set_file{};
};

}  // namespace vrn::exporter
