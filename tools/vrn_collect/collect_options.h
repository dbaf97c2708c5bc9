// Command line of vrn_collect.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "common/command_line.h"
#include "data/page_encoding.h"

namespace vrn::collect {

// What the data writer is told; empty texts and no value leave it its defaults.
struct WriterOptions {
    // When empty {{tag}}{{id}}.bin, in a folder of each source when there are several.
    std::string counters_template, data_template;
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
    std::string sources;      // specifies one or several; empty: this host
    std::string source_name;  // of the only one, as it is; empty: see `sources`
    std::chrono::milliseconds interval{100};
    std::chrono::milliseconds duration{2000};     // 0: until a signal comes
    std::optional<vrn_page_encoding_t> encoding;  // of pages; none: plain blocks
    WriterOptions writer;
};

// The command line that fills `options`, which outlive it.
tool::CommandLine make_command_line(CollectOptions *options);

}  // namespace vrn::collect
