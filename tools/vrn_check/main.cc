// vrn_check: finds what is damaged in data files.
#include <cstdlib>
#include <string>
#include <vector>

#include "common/input_files.h"
#include "common/tool_main.h"
#include "vrn_check/check_options.h"
#include "vrn_check/check_run.h"
#include "vrn_check/output_folder.h"

namespace vrn::check {
namespace {

constexpr int faults_status = 1;
constexpr int failed_status = 2;

int run(const Settings &settings, const std::vector<std::string> &operands) {
    if (operands.empty()) throw tool::UsageError("no file or folder is given");
    tool::start_log(settings.log_level);
    std::vector<tool::InputFile> files;
    const bool found_all = tool::find_input_files(operands, &files);
    tool::refuse_output_into_input(tool::InputIds(tool::ids_of(files)));
    // Before anything is written: a run must not read its own output, nor write over its input.
    if (!settings.check.salvage_dir.empty())
        refuse_overlap(settings.check.salvage_dir, operands, files);
    const Totals totals = check_files(files, settings.check);
    // 1 would say that everything was read.
    if (!found_all) return failed_status;
    return totals.faults > 0 ? faults_status : EXIT_SUCCESS;
}

}  // namespace
}  // namespace vrn::check

int main(int argc, char **argv) {
    namespace check = vrn::check;
    check::Settings settings;
    return vrn::tool::run_tool(
        check::make_command_line(&settings), argc, argv, check::failed_status,
        [&](const std::vector<std::string> &operands) { return check::run(settings, operands); });
}
