// The file that the user wants a report in.
#pragma once

#include <string>

#include "common/input_files.h"
#include "utils/descriptor.h"

namespace vrn::exporter {

// Grows with the run, so that it can be followed. Functions throw std::system_error when it can't
// be written.
class ReportFile {
  public:
    // Throws tool::UsageError when the file is one of the inputs.
    ReportFile(std::string path, const tool::InputIds &inputs);
    ~ReportFile();
    ReportFile(const ReportFile &) = delete;
    ReportFile &operator=(const ReportFile &) = delete;

    void write(const std::string &line);
    void finish();

  private:
    std::string path_;
    Descriptor file_;
    std::string waiting_;
};

}  // namespace vrn::exporter
