#include "reader/options_parse.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "reader/data_dir.h"
#include "reader/output_format.h"
#include "scan/schema_folder.h"
#include "utils/log.h"
#include "utils/parse_number.h"
#include "vrn_version.h"

// The letters lack 'o' and 'C' and have a 'c' that does nothing: both are kept on purpose.
const char vrn_reader_short_options[] = "hVv:s:g:l:i:e:f:pd:S::c:F:IuM";
const option vrn_reader_long_options[] = {
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},
    {"verbose", required_argument, nullptr, 'v'},
    {"schema-path", required_argument, nullptr, 's'},
    {"output-dir", required_argument, nullptr, 'o'},
    {"timestamp-gt", required_argument, nullptr, 'g'},
    {"timestamp-lt", required_argument, nullptr, 'l'},
    {"include-counters", required_argument, nullptr, 'i'},
    {"exclude-counters", required_argument, nullptr, 'e'},
    {"format", required_argument, nullptr, 'f'},
    {"print-page-info", no_argument, nullptr, 'p'},
    {"data-dir", required_argument, nullptr, 'd'},
    {"sort-files", optional_argument, nullptr, 'S'},
    {"cset-file", required_argument, nullptr, 'C'},
    {"fset-file", required_argument, nullptr, 'F'},
    {"ignore-missing-filter", no_argument, nullptr, 'I'},
    {"microsecond-precision", no_argument, nullptr, 'u'},
    {"metadata", no_argument, nullptr, 'M'},
    {nullptr, 0, nullptr, 0},
};

namespace {

constexpr int max_verbosity = 7;

bool exists(const char *path) {
    return access(path, F_OK) == 0;
}

bool replace_text(char **text, const char *with) {
    std::free(*text);
    *text = with ? strdup(with) : nullptr;
    if (*text || !with) return true;
    std::fprintf(stderr, "Failed copying '%s': %s\n", with, std::strerror(errno));
    return false;
}

// Deliberate: what is said of bad values ends without a newline.
bool parse_verbosity(const char *text, std::uint32_t *verbosity) {
    std::int64_t level = 0;
    if (!vrn_parse_llong(text, &level) || level < 0 || level > max_verbosity) {
        std::fprintf(stderr, "Verbosity level is a number between 0 and %d, %s is given.",
                     max_verbosity, text);
        return false;
    }
    *verbosity = static_cast<std::uint32_t>(level);
    return true;
}

bool parse_timestamp(const char *text, std::uint64_t *timestamp) {
    if (vrn_parse_ullong(text, timestamp)) return true;
    std::fprintf(stderr, "Timestamp must be a number, %s is given.", text);
    return false;
}

// The wording speaks of counters for every list, input files included.
bool append_to_list(vrn_string_array_t **list, const char *text) {
    if (vrn_string_array_append(list, text)) return true;
    std::fprintf(stderr, "Failed appending '%s' to the list of counters: %s", text,
                 std::strerror(errno));
    return false;
}

bool parse_format(const char *text, vrn_output_format_t *format) {
    if (vrn_output_format_from_name(text, format)) return true;
    std::fprintf(stderr, "Unsupported output format %s", text);
    return false;
}

[[noreturn]] void print_version_and_exit() {
    std::printf("Varnel binary data reader %s\n", vrn_version_string());
    std::printf("Varnel build info: %s\n", vrn_build_info);
    std::exit(EXIT_SUCCESS);
}

[[noreturn]] void print_help_and_exit() {
    std::exit(vrn_reader_print_usage() ? EXIT_SUCCESS : EXIT_FAILURE);
}

bool apply_option(vrn_reader_options_t *options, int code, const char *argument) {
    switch (code) {
        case 'h':
            print_help_and_exit();
        case 'V':
            print_version_and_exit();
        case 'v':
            return parse_verbosity(argument, &options->verbosity);
        case 's':
            return replace_text(&options->schema_path, argument);
        case 'o':
            return replace_text(&options->output_dir, argument);
        case 'g':
            return parse_timestamp(argument, &options->timestamp_gt);
        case 'l':
            return parse_timestamp(argument, &options->timestamp_lt);
        case 'i':
            return append_to_list(&options->include_counters, argument);
        case 'e':
            return append_to_list(&options->exclude_counters, argument);
        case 'f':
            return parse_format(argument, &options->format);
        case 'p':
            options->print_page_info = true;
            return true;
        case 'd':
            return replace_text(&options->data_dir, argument);
        case 'S':
            // The order is optional, so it follows its option without a blank.
            options->sort_files = true;
            return replace_text(&options->sort_order, argument && *argument ? argument : nullptr);
        case 'C':
            return replace_text(&options->cset_file, argument);
        case 'F':
            return replace_text(&options->fset_file, argument);
        case 'I':
            options->ignore_missing_filter = true;
            return true;
        case 'u':
            options->microsecond_precision = true;
            return true;
        case 'M':
            options->metadata = true;
            return true;
        default:
            return true;  // unknown options are never fatal
    }
}

bool store_defaults(vrn_reader_options_t *options) {
    if (vrn_reader_options_init(options)) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to initialize options default values");
    // The log shows nothing yet, unless the environment asks for it.
    std::fprintf(stderr, "Failed to store the options: %s\n", std::strerror(ENOMEM));
    return false;
}

bool parse_arguments(vrn_reader_options_t *options, int argc, char **argv) {
    // Zero, not one: the parser starts anew, also after another command line of the process.
    optind = 0;
    int code = 0;
    while ((code = getopt_long(argc, argv, vrn_reader_short_options, vrn_reader_long_options,
                               nullptr)) != -1)
        if (!apply_option(options, code, optarg)) return false;
    return true;
}

bool collect_input_files(vrn_reader_options_t *options, int argc, char **argv) {
    for (int i = optind; i < argc; ++i)
        if (!append_to_list(&options->data_files, argv[i])) return false;
    // Files of the folder follow those that are named, whatever the order of the options.
    return !options->data_dir || vrn_reader_add_data_dir(options, options->data_dir);
}

bool default_type_names(vrn_reader_options_t *options) {
    if (options->include_counters->count > 0) return true;
    if (vrn_string_array_append(&options->include_counters, "*")) return true;
    std::fprintf(stderr, "Failed setting default list of type names: %s", std::strerror(errno));
    return false;
}

bool find_schema_path(vrn_reader_options_t *options) {
    // An existing folder wins over one beside the data, also when it holds other schemas.
    if (exists(options->schema_path) || options->data_files->count == 0) return true;
    const char *first = options->data_files->strings[0];
    char *found = vrn_reader_find_schema_dir(first, vrn::scan::schema_folder_name,
                                             vrn::scan::schema_search_levels);
    if (!found) {
        std::fprintf(stderr, "Schema folder not found within %d levels of %s\n",
                     vrn::scan::schema_search_levels, first);
        return false;
    }
    std::free(options->schema_path);
    options->schema_path = found;
    return true;
}

bool check_output_dir(const vrn_reader_options_t *options) {
    const char *folder = options->output_dir;
    if (folder && (options->format != VRN_FORMAT_BIN || exists(folder))) return true;
    // Deliberate: spelled so; the folder is never made.
    std::fprintf(stderr, "Output folder '%s' does not exits\n", folder ? folder : "");
    return false;
}

bool check_filter_file(const char *path, const char *kind) {
    // An empty name passes here and fails each file's load.
    if (!path || !*path || exists(path)) return true;
    std::fprintf(stderr, "%s set file '%s' does not exist\n", kind, path);
    return false;
}

const char *bool_text(bool value) {
    return value ? "true" : "false";
}

void print_usage_with_defaults(const vrn_reader_options_t *defaults) {
    std::puts("\nVarnel export collected binary data as text or JSON.\n");
    std::puts("Usage: vrn_read --schema-path ./schema data1.bin [data2.bin...]\n");
    std::puts("General options:");
    std::puts("  -h, --help                        Print this message.");
    // Deliberate: "Varel", --print-headers for --print-page-info, and -C and -o, which have no
    // short form; --sort-files is not told.
    std::puts("  -V, --version                     Print Varel version number.");
    std::printf("  -v, --verbose level               Level of verbosity 0-7 (%d).\n",
                static_cast<int>(defaults->verbosity));
    std::printf("  -p, --print-headers               Print data headers (%s).\n",
                bool_text(defaults->print_page_info));
    std::puts("\nInput options:");
    std::printf("  -s, --schema-path dir             Path to the schema files (%s).\n",
                defaults->schema_path);
    std::puts("  -d, --data-dir dir                Path to data directory to process recursively.");
    std::puts("\nFiltering options:");
    std::puts("  -g, --timestamp-gt value          Take data with timestamp greater than value.");
    std::puts("  -l, --timestamp-lt value          Take data with timestamp less than value.");
    std::puts("  -C, --cset-file path              Path to cset file (optional).");
    std::puts("  -F, --fset-file path              Path to fset file (optional).");
    std::printf(
        "  -I, --ignore-missing-filter       When only one filter file exists (fset/cset), "
        "true=filter by it and include all for missing filter file, false=exclude all for missing "
        "filter file (%s).\n",
        bool_text(defaults->ignore_missing_filter));
    std::printf(
        "  -M, --metadata                    Load metadata JSON from schema path, strip index\n"
        "                                    prefixes from counter names and add labels (%s).\n",
        bool_text(defaults->metadata));
    std::puts("  -i, --include-counters pattern    Take counters that match pattern.");
    std::puts("  -e, --exclude-counters pattern    Do not take counters that match pattern.");
    std::printf(
        "  -o, --output-dir dir              Specifies location for .bin files output (%s)\n",
        defaults->output_dir);
    std::puts("\nOutput format:");
    std::printf("  -f, --format [json|ndjson|txt|csv|influx|bin] Output format (%s).\n",
                vrn_output_format_name(defaults->format));
    // The text of this default is constant.
    std::printf(
        "  -u, --microsecond-precision   Show 6 digits after decimal point in timestamps (%s).\n",
        "false");
    std::puts("");
}

}  // namespace

bool vrn_reader_options_parse(vrn_reader_options_t *options, int argc, char **argv) {
    return store_defaults(options) && parse_arguments(options, argc, argv) &&
           collect_input_files(options, argc, argv) && default_type_names(options) &&
           find_schema_path(options) && check_output_dir(options) &&
           check_filter_file(options->cset_file, "Counter") &&
           check_filter_file(options->fset_file, "Filter");
}

bool vrn_reader_print_usage() {
    vrn_reader_options_t defaults{};
    const bool has_defaults = store_defaults(&defaults);
    if (has_defaults) print_usage_with_defaults(&defaults);
    vrn_reader_options_clear(&defaults);
    return has_defaults;
}
