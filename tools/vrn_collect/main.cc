// vrn_collect: samples this machine and writes data files that vrn_read reads.
#include <parson.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>

#include "utils/log.h"
#include "vrn_collect/collect_options.h"
#include "vrn_collect/collect_output.h"

namespace vrn::collect {
namespace {

void collect(const CollectOptions &options) {
    CollectOutput output(options, read_proc_sample());
    const auto end = std::chrono::steady_clock::now() + options.duration;
    for (auto next = std::chrono::steady_clock::now(); next < end; next += options.interval) {
        std::this_thread::sleep_until(next);
        output.add(read_proc_sample());
    }
    output.finish();
}

}  // namespace
}  // namespace vrn::collect

int main(int argc, char **argv) {
    vrn_init_stderr_logger(VRN_LOG_WARNING);
    // Schema texts are written as vrn_read prints its JSON: '/' stays as it is.
    json_set_escape_slashes(0);
    const vrn::collect::CollectOptions options = vrn::collect::parse_collect_options(argc, argv);
    try {
        vrn::collect::collect(options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vrn_collect: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
