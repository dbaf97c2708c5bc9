// An input file between its opening and its last output.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

#include "vrn_export/file_output.h"
#include "vrn_export/file_report.h"
#include "vrn_export/input_feed.h"
#include "vrn_export/run_slot.h"

namespace vrn::exporter {

struct OpenFile {
    std::size_t index = 0;  // among the inputs

    // Of the thread that reads the file.
    InputFeed feed;
    std::uint64_t noted_bytes = 0;  // told as progress

    // Of the thread that writes its output.
    std::unique_ptr<FileOutput> output;                  // null: nothing is written
    std::shared_ptr<const scan::LoadedSchemas> schemas;  // that hold after the last run written
    FileReport report;
    std::chrono::steady_clock::time_point start;

    // Of the work order, under its lock.
    enum class Reading : std::uint8_t { busy, idle, ended };
    Reading reading = Reading::busy;
    bool is_writing = false;
    bool is_finished = false;
    std::size_t num_read = 0;                 // runs
    std::size_t num_written = 0;              // runs
    std::map<std::size_t, RunSlot *> walked;  // by their index; not written yet
};

}  // namespace vrn::exporter
