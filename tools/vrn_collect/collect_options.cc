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
    "Samples /proc of this machine; writes data/{counters,events,metrics}.bin and schema/*.json.\n"
    "  -o, --output-dir dir     Folder to write to, made when missing (telemetry).\n"
    "  -i, --interval ms        Milliseconds between samples (100).\n"
    "  -t, --duration ms        Milliseconds in all (2000).\n"
    "  -e, --encoding name      Compress events and counters in pages: gzip or snappy.\n"
    "  -h, --help               Print this message.\n";

constexpr option long_options[] = {
    {"output-dir", required_argument, nullptr, 'o'},
    {"interval", required_argument, nullptr, 'i'},
    {"duration", required_argument, nullptr, 't'},
    {"encoding", required_argument, nullptr, 'e'},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void refuse(const char *option_name, const char *value) {
    std::fprintf(stderr, "vrn_collect: --%s takes a positive number, %s is given.\n", option_name,
                 value);
    std::exit(EXIT_FAILURE);
}

std::chrono::milliseconds parse_milliseconds(const char *option_name, const char *value) {
    std::uint32_t milliseconds = 0;
    if (!vrn_parse_u32(value, &milliseconds) || milliseconds == 0) refuse(option_name, value);
    return std::chrono::milliseconds(milliseconds);
}

vrn_page_encoding_t parse_encoding(const char *value) {
    if (std::string_view(value) == "gzip") return VRN_ENCODING_GZIP;
    if (std::string_view(value) == "snappy") return VRN_ENCODING_SNAPPY;
    std::fprintf(stderr, "vrn_collect: --encoding takes gzip or snappy, %s is given.\n", value);
    std::exit(EXIT_FAILURE);
}

}  // namespace

CollectOptions parse_collect_options(int argc, char **argv) {
    CollectOptions options;
    int code = 0;
    while ((code = getopt_long(argc, argv, "o:i:t:e:h", long_options, nullptr)) != -1) {
        switch (code) {
            case 'o':
                options.output_dir = optarg;
                break;
            case 'i':
                options.interval = parse_milliseconds("interval", optarg);
                break;
            case 't':
                options.duration = parse_milliseconds("duration", optarg);
                break;
            case 'e':
                options.encoding = parse_encoding(optarg);
                break;
            case 'h':
                std::fputs(help, stdout);
                std::exit(EXIT_SUCCESS);
            default:
                std::fputs(help, stderr);
                std::exit(EXIT_FAILURE);
        }
    }
    return options;
}

}  // namespace vrn::collect
