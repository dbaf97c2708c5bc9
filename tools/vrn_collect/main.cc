// vrn_collect: samples this machine and writes data files that vrn_read reads.
#include <parson.h>

#include <exception>

#include "common/tool_main.h"
#include "utils/log.h"
#include "vrn_collect/collect_options.h"
#include "vrn_collect/collect_output.h"
#include "vrn_collect/stop_signal.h"

namespace vrn::collect {
namespace {

using Clock = std::chrono::steady_clock;

void sample_until_the_end(const CollectOptions &options, CollectOutput *output) {
    const auto start = Clock::now();
    const bool is_endless = options.duration.count() == 0;
    const auto end = is_endless ? Clock::time_point::max() : start + options.duration;
    // Steps from the start and not from the sample before, so that delays don't add up.
    for (auto next = start; next < end && !wait_for_stop_signal(next); next += options.interval)
        output->add(read_proc_sample());
}

bool collect(const CollectOptions &options) {
    let_writes_fail();
    CollectOutput output(options, read_proc_sample());
    catch_stop_signals();  // not before: the names of sources may be waited for
    bool is_whole = true;
    try {
        sample_until_the_end(options, &output);
    } catch (const std::exception &error) {
        tool::print_error("vrn_collect", error.what());
        is_whole = false;  // what there is so far is stored all the same
    }
    return output.finish() && is_whole;
}

}  // namespace
}  // namespace vrn::collect

int main(int argc, char **argv) {
    vrn::tool::start_log(VRN_LOG_WARNING);
    // Schema texts are written as vrn_read prints its JSON: '/' stays as it is.
    json_set_escape_slashes(0);
    vrn::collect::CollectOptions options;
    return vrn::tool::run_tool(vrn::collect::make_command_line(&options), argc, argv,
                               [&](const auto &) { return vrn::collect::collect(options); });
}
