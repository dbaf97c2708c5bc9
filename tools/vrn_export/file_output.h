// Where the texts of files go.
#pragma once

#include <cstddef>
#include <memory>

#include "vrn_export/file_report.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/input_feed.h"

namespace vrn::exporter {

// The text of one input file, in order. Functions throw std::system_error when the output can't
// take it.
class FileOutput {
  public:
    virtual ~FileOutput() = default;

    virtual void write(const Encoded &encoded) = 0;
    // The file was read to its end, and `report` tells the rest; what was written is put in.
    virtual void finish(FileReport *report) = 0;
};

// The text of all files. What is not finished leaves nothing behind, except in a stream.
class ExportOutput {
  public:
    virtual ~ExportOutput() = default;

    // True when the texts of files go out in the order of the files, one at a time.
    virtual bool is_ordered() const = 0;
    // True when it holds the text of a file from an earlier run; its report is filled in. By any
    // thread, as the next two.
    virtual bool has_file(std::size_t /*index*/, FileReport * /*report*/) { return false; }
    virtual std::unique_ptr<FileOutput> begin_file(std::size_t index, const InputFeed &feed) = 0;
    // Nothing comes of a file.
    virtual void pass_over(FileReport * /*report*/) {}
    // All files are finished.
    virtual void finish() {}
};

}  // namespace vrn::exporter
