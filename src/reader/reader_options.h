// The parsed command line of vrn_read.
#pragma once

#include <cstdint>

#include "utils/string_array.h"

enum vrn_output_format_t : std::uint32_t {
    VRN_FORMAT_JSON = 0,
    VRN_FORMAT_NDJSON = 1,
    VRN_FORMAT_TXT = 2,
    VRN_FORMAT_CSV = 3,
    VRN_FORMAT_INFLUX = 4,
    VRN_FORMAT_BIN = 5,
};

// Read only once parsed; lives until exit. Texts are owned.
struct vrn_reader_options_t {
    std::uint32_t verbosity;  // log level, 0 to 7
    vrn_output_format_t format;
    char *schema_path;
    char *output_dir;
    vrn_string_array_t *data_files;  // in reading order unless sorted
    std::uint64_t timestamp_gt;      // microseconds
    std::uint64_t timestamp_lt;
    vrn_string_array_t *include_counters;  // patterns of event type names
    vrn_string_array_t *exclude_counters;
    bool print_page_info;
    char *data_dir;
    bool sort_files;
    char *sort_order;  // null means the default order
    char *cset_file;
    char *fset_file;
    bool ignore_missing_filter;
    bool microsecond_precision;
    bool metadata;
};

// Stores the defaults. False: out of memory.
[[nodiscard]] bool vrn_reader_options_init(vrn_reader_options_t *options);

// Frees what the record owns and zeroes it.
void vrn_reader_options_clear(vrn_reader_options_t *options);
void vrn_reader_options_free(vrn_reader_options_t *options);  // the same; accepts null
