// What the command line of vrn_export says.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "common/command_line.h"
#include "utils/log.h"
#include "vrn_export/compressor.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/shard.h"

namespace vrn::exporter {

inline constexpr int damaged_status = 1;  // some input is damaged; what could be read is out
inline constexpr int failed_status = 2;

enum class Task : std::uint8_t { convert, list, merge };

struct ExportOptions {
    Task task = Task::convert;
    FormatOptions format;
    std::string output_folder;  // empty: one stream
    std::string report_file;    // empty: none
    std::string schema_path;    // empty: where vrn_read would look
    Compression compression = Compression::none;
    bool resumes = false;
    unsigned threads = 1;
    std::optional<Shard> shard;
    std::uint32_t log_level = VRN_LOG_WARNING;
};

// Borrows the options, which parsing fills.
tool::CommandLine make_command_line(ExportOptions *options);

// Throws tool::UsageError for options that don't go together.
void check_options(const ExportOptions &options, bool has_operands);

// All that a part's bytes depend on beside its input, in one line.
std::string options_line(const ExportOptions &options);

}  // namespace vrn::exporter
