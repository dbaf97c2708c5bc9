// The command line of vrn_sql.
#pragma once

#include <cstdint>
#include <string>

#include "common/command_line.h"
#include "utils/log.h"
#include "vrn_sql/output_form.h"

namespace vrn::sqltool {

struct Settings {
    Form form = Form::table;
    std::string output;  // empty: standard output
    std::string schema_folder;
    bool shows_tables = false;
    bool is_ordered = false;
    bool is_strict = false;
    std::uint32_t log_level = VRN_LOG_WARNING;
};

// The command line that fills `settings`, which outlive it.
tool::CommandLine make_command_line(Settings *settings);

}  // namespace vrn::sqltool
