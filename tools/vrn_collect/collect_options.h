// Command line of vrn_collect.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "data/page_encoding.h"

namespace vrn::collect {

// What the data writer is told; empty texts and no value leave it its defaults.
struct WriterOptions {
    // Without a value {{tag}}{{id}}.bin, in a folder of each source when there are several.
    std::optional<std::string> counters_template, data_template;
    std::optional<std::uint64_t> file_size;  // bytes
    std::optional<std::uint64_t> data_size;  // bytes
    std::optional<std::chrono::milliseconds> file_age;
    bool write_nodeinfo = false;
    bool keep_files_open = true;
    std::string allowed_tags, excluded_tags;
    std::string allowed_scope, excluded_scope;
    std::string allowed_scope_file, excluded_scope_file;
};

struct CollectOptions {
    std::string output_dir = "telemetry";
    std::optional<std::string> source;  // one or several; none: the name of this host
    std::chrono::milliseconds interval{100};
    std::chrono::milliseconds duration{2000};
    std::optional<vrn_page_encoding_t> encoding;  // of pages; none: plain blocks
    WriterOptions writer;
};

// Exits with the help text on --help and on what it doesn't know.
CollectOptions parse_collect_options(int argc, char **argv);

}  // namespace vrn::collect
