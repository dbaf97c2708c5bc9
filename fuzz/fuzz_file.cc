#include "fuzz_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "reader/reader.h"
#include "reader/reader_options.h"
#include "reader/sample_files.h"
#include "utils/log.h"

namespace vrn::fuzz {
namespace {

vrn_reader_options_t make_options() {
    static const test::TempDir dir;
    test::write_sample_schemas(dir);
    vrn_reader_options_t options{};
    options.schema_path = strdup(dir.file("schema").c_str());
    options.timestamp_lt = UINT64_MAX;
    if (!vrn_string_array_append(&options.include_counters, "*")) std::abort();
    vrn_init_stderr_logger(0);
    if (!std::freopen("/dev/null", "w", stdout)) std::abort();
    return options;
}

}  // namespace

void read_data_file(const std::string &bytes) {
    static vrn_reader_options_t options = make_options();
    static const int file = memfd_create("fuzz", 0);
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (ftruncate(file, 0) != 0 ||
        pwrite(file, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        std::abort();
    for (const vrn_output_format_t format : {VRN_FORMAT_NDJSON, VRN_FORMAT_TXT}) {
        options.format = format;
        vrn_read_data_file(path.c_str(), &options, true);
    }
}

}  // namespace vrn::fuzz
