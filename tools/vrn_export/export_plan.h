// What the threads of an export share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "common/input_files.h"
#include "vrn_export/compressor.h"
#include "vrn_export/file_output.h"
#include "vrn_export/file_report.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/schema_caches.h"

namespace vrn::exporter {

// All references are borrowed. Functions are called by any thread.
struct ExportPlan {
    const std::vector<tool::InputFile> &files;
    const Format &format;
    SchemaCaches &schemas;
    ExportOutput &output;
    Compression compression = Compression::none;  // of the text of each run
    unsigned threads = 1;
    // Gets a report for each file, in their order, one at a time.
    std::function<void(const FileReport &report)> take_report;
    // `bytes` more have been taken from the disk.
    std::function<void(std::uint64_t bytes)> note_bytes;
};

}  // namespace vrn::exporter
