#include "vrn_collect/collect_options.h"

#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "utils/parse_number.h"

namespace vrn::collect {
namespace {

constexpr char help[] =
    "Usage: vrn_collect [options]\n"
    "Samples /proc of this machine; writes DIR/data/**/*.bin and DIR/schema/*.json.\n"
    "  -o, --output-dir DIR          Folder to write to, made when missing (telemetry).\n"
    "  -i, --interval MS             Milliseconds between samples (100).\n"
    "  -t, --duration MS             Milliseconds in all (2000).\n"
    "  -s, --source NAME             Name of the source (this host's), or several\n"
    "                                sources that each get all data, in a folder of their own\n"
    "                                unless templates tell otherwise: the number N or the range\n"
    "                                A-B for this host's name with _1 to _N or _A to _B,\n"
    "                                PREFIX[A-B], or a file with one name a line or of fabscan.\n"
    "  -e, --encoding NAME           Compress events in pages: gzip or snappy.\n"
    "  -c, --counters-template PATH  Path of counters files below the data folder, from\n"
    "                                {{year}} {{month}} {{day}} {{hour}} {{minute}} {{second}}\n"
    "                                {{source}} {{tag}} {{id}} {{node}} {{port}} {{timestamp}}\n"
    "                                {{hash[N]}} ({{tag}}{{id}}.bin).\n"
    "  -d, --data-template PATH      The same of event and metrics files.\n"
    "  -S, --file-size BYTES         Begin a new file at this size.\n"
    "  -A, --file-age MS             Begin a new file when data would span this time.\n"
    "  -D, --data-size BYTES         Remove the oldest files of this run above this size.\n"
    "  -n, --node-info               Write node information files beside the data.\n"
    "  -C, --close-files             Keep no data file open between pages.\n"
    "      --allow-tags LIST         Store these tags only (counters,events,metrics).\n"
    "      --exclude-tags LIST       Store none of these tags.\n"
    "      --allow-scope LIST        Store these sources only.\n"
    "      --exclude-scope LIST      Store none of these sources.\n"
    "      --allow-scope-file FILE   The same by a file with one source a line.\n"
    "      --exclude-scope-file FILE\n"
    "  -h, --help                    Print this message.\n";

// Options without a letter.
enum LongOption {
    ALLOW_TAGS = 256,
    EXCLUDE_TAGS,
    ALLOW_SCOPE,
    EXCLUDE_SCOPE,
    ALLOW_SCOPE_FILE,
    EXCLUDE_SCOPE_FILE,
};

constexpr char letters[] = "o:i:t:s:e:c:d:S:A:D:nCh";
constexpr option long_options[] = {
    {"output-dir", required_argument, nullptr, 'o'},
    {"interval", required_argument, nullptr, 'i'},
    {"duration", required_argument, nullptr, 't'},
    {"source", required_argument, nullptr, 's'},
    {"encoding", required_argument, nullptr, 'e'},
    {"counters-template", required_argument, nullptr, 'c'},
    {"data-template", required_argument, nullptr, 'd'},
    {"file-size", required_argument, nullptr, 'S'},
    {"file-age", required_argument, nullptr, 'A'},
    {"data-size", required_argument, nullptr, 'D'},
    {"node-info", no_argument, nullptr, 'n'},
    {"close-files", no_argument, nullptr, 'C'},
    {"allow-tags", required_argument, nullptr, ALLOW_TAGS},
    {"exclude-tags", required_argument, nullptr, EXCLUDE_TAGS},
    {"allow-scope", required_argument, nullptr, ALLOW_SCOPE},
    {"exclude-scope", required_argument, nullptr, EXCLUDE_SCOPE},
    {"allow-scope-file", required_argument, nullptr, ALLOW_SCOPE_FILE},
    {"exclude-scope-file", required_argument, nullptr, EXCLUDE_SCOPE_FILE},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
};

std::uint32_t parse_positive(const char *option_name, const char *value) {
    std::uint32_t number = 0;
    if (vrn_parse_u32(value, &number) && number != 0) return number;
    std::fprintf(stderr, "vrn_collect: --%s takes a positive number, %s is given.\n", option_name,
                 value);
    std::exit(EXIT_FAILURE);
}

std::chrono::milliseconds parse_milliseconds(const char *option_name, const char *value) {
    return std::chrono::milliseconds(parse_positive(option_name, value));
}

vrn_page_encoding_t parse_encoding(const char *value) {
    if (std::string_view(value) == "gzip") return VRN_ENCODING_GZIP;
    if (std::string_view(value) == "snappy") return VRN_ENCODING_SNAPPY;
    std::fprintf(stderr, "vrn_collect: --encoding takes gzip or snappy, %s is given.\n", value);
    std::exit(EXIT_FAILURE);
}

// False for an option that is none of the writer's.
bool take_writer_option(int code, WriterOptions *options) {
    switch (code) {
        case 'c':
            options->counters_template = optarg;
            return true;
        case 'd':
            options->data_template = optarg;
            return true;
        case 'S':
            options->file_size = parse_positive("file-size", optarg);
            return true;
        case 'A':
            options->file_age = parse_milliseconds("file-age", optarg);
            return true;
        case 'D':
            options->data_size = parse_positive("data-size", optarg);
            return true;
        case 'n':
            options->write_nodeinfo = true;
            return true;
        case 'C':
            options->keep_files_open = false;
            return true;
        case ALLOW_TAGS:
            options->allowed_tags = optarg;
            return true;
        case EXCLUDE_TAGS:
            options->excluded_tags = optarg;
            return true;
        case ALLOW_SCOPE:
            options->allowed_scope = optarg;
            return true;
        case EXCLUDE_SCOPE:
            options->excluded_scope = optarg;
            return true;
        case ALLOW_SCOPE_FILE:
            options->allowed_scope_file = optarg;
            return true;
        case EXCLUDE_SCOPE_FILE:
            options->excluded_scope_file = optarg;
            return true;
        default:
            return false;
    }
}

void take_option(int code, CollectOptions *options) {
    if (take_writer_option(code, &options->writer)) return;
    switch (code) {
        case 'o':
            options->output_dir = optarg;
            break;
        case 'i':
            options->interval = parse_milliseconds("interval", optarg);
            break;
        case 't':
            options->duration = parse_milliseconds("duration", optarg);
            break;
        case 's':
            options->source = optarg;
            break;
        case 'e':
            options->encoding = parse_encoding(optarg);
            break;
        case 'h':
            std::fputs(help, stdout);
            std::exit(EXIT_SUCCESS);
        default:
            std::fputs(help, stderr);
            std::exit(EXIT_FAILURE);
    }
}

}  // namespace

CollectOptions parse_collect_options(int argc, char **argv) {
    CollectOptions options;
    int code = 0;
    while ((code = getopt_long(argc, argv, letters, long_options, nullptr)) != -1)
        take_option(code, &options);
    return options;
}

}  // namespace vrn::collect
