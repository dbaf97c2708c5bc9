// vrn_check: finds what is damaged in data files.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "common/input_files.h"
#include "common/tool_main.h"
#include "vrn_check/check_run.h"
#include "vrn_check/output_folder.h"

namespace vrn::check {
namespace {

// Each takes a stack and a page buffer.
constexpr unsigned max_threads = 1024;
constexpr int faults_status = 1;
constexpr int failed_status = 2;

struct Settings {
    CheckOptions check;
    std::uint32_t log_level = VRN_LOG_WARNING;
};

std::string folder_value(const char *text) {
    if (*text != '\0') return text;
    throw tool::BadValue("the path of a folder");
}

tool::CommandLine command_line(Settings *settings) {
    CheckOptions *check = &settings->check;
    return {"vrn_check",
            "file|folder ...",
            "Reads data files whole and prints a line for each fault. No input is changed.\n"
            "Of a folder it takes all data files below.\n",
            {{"json", 0, nullptr, "Print a JSON object for each fault, and one for the run.",
              [check](const char *) { check->form = Form::json; }},
             {"threads", 'j', "NUMBER", "Files to read at a time (the number of processors).",
              [check](const char *value) {
                  check->threads = static_cast<unsigned>(tool::number_value(value, 1, max_threads));
              }},
             {"schema-path", 's', "DIR",
              "Folder of the schema files (./schema, or else the nearest folder 'schema' above a "
              "file).",
              [check](const char *value) { check->schema_path = folder_value(value); }},
             {"salvage", 0, "DIR",
              "Write a sound copy of each file below DIR, with all that is left of a damaged one, "
              "and tell what it lacks.",
              [check](const char *value) { check->salvage_dir = folder_value(value); }},
             {"verbose", 'v', nullptr, "Tell of files that are passed over, too.",
              [settings](const char *) { settings->log_level = VRN_LOG_INFO; }}},
            "The exit status is 0 without a fault, 1 with one, 2 when the run itself failed, and\n"
            "64 for wrong usage.\n"};
}

int run(const Settings &settings, const std::vector<std::string> &operands) {
    if (operands.empty()) throw tool::UsageError("no file or folder is given");
    tool::start_log(settings.log_level);
    std::vector<tool::InputFile> files;
    const bool found_all = tool::find_input_files(operands, &files);
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
    settings.check.threads =
        std::clamp(std::thread::hardware_concurrency(), 1U, check::max_threads);
    return vrn::tool::run_tool(
        check::command_line(&settings), argc, argv, check::failed_status,
        [&](const std::vector<std::string> &operands) { return run(settings, operands); });
}
