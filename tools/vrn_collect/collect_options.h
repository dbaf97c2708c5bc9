// Command line of vrn_collect.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "data/page_encoding.h"

namespace vrn::collect {

struct CollectOptions {
    std::string output_dir = "telemetry";
    std::chrono::milliseconds interval{100};
    std::chrono::milliseconds duration{2000};
    std::optional<vrn_page_encoding_t> encoding;  // of pages; none: plain blocks
};

// Exits with the help text on --help and on what it doesn't know.
CollectOptions parse_collect_options(int argc, char **argv);

}  // namespace vrn::collect
