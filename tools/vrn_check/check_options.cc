#include "vrn_check/check_options.h"

#include <algorithm>
#include <thread>

namespace vrn::check {
namespace {

// Each takes a stack and a page buffer.
constexpr unsigned max_threads = 1024;

}  // namespace

tool::CommandLine make_command_line(Settings *settings) {
    CheckOptions *check = &settings->check;
    // The system tells 0 where it doesn't know.
    check->threads = std::clamp(std::thread::hardware_concurrency(), 1U, max_threads);
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
              [check](const char *value) { check->schema_path = value; }},
             {"salvage", 0, "DIR",
              "Write a sound copy of each file below DIR, with all that is left of a damaged one, "
              "and tell what it lacks.",
              [check](const char *value) { check->salvage_dir = value; }},
             {"verbose", 'v', nullptr, "Tell of files that are passed over, too.",
              [settings](const char *) { settings->log_level = VRN_LOG_INFO; }}},
            "The exit status is 0 without a fault, 1 with one, 2 when the run itself failed, and\n"
            "64 for wrong usage.\n"};
}

}  // namespace vrn::check
