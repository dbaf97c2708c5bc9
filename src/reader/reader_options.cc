#include "reader/reader_options.h"

#include <cstdlib>
#include <cstring>

#include "utils/log.h"

bool vrn_reader_options_init(vrn_reader_options_t *options) {
    options->verbosity = VRN_LOG_INFO;
    options->format = VRN_FORMAT_JSON;
    options->schema_path = strdup("schema");
    options->output_dir = strdup("output");
    options->timestamp_gt = 0;
    options->timestamp_lt = UINT64_MAX;
    options->data_files = vrn_string_array_create();
    options->include_counters = vrn_string_array_create();
    options->exclude_counters = vrn_string_array_create();
    return options->schema_path && options->output_dir && options->data_files &&
           options->include_counters && options->exclude_counters;
}

void vrn_reader_options_clear(vrn_reader_options_t *options) {
    for (char *text : {options->schema_path, options->output_dir, options->data_dir,
                       options->sort_order, options->cset_file, options->fset_file})
        std::free(text);
    for (vrn_string_array_t *array :
         {options->data_files, options->include_counters, options->exclude_counters})
        vrn_string_array_free(array);
    *options = {};
}

void vrn_reader_options_free(vrn_reader_options_t *options) {
    if (options) vrn_reader_options_clear(options);
}
