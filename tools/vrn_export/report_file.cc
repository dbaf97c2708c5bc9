#include "vrn_export/report_file.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "common/command_line.h"
#include "utils/write_all.h"

namespace vrn::exporter {
namespace {

constexpr std::size_t max_waiting = 32768;

}  // namespace

ReportFile::ReportFile(std::string path, const tool::InputIds &inputs) : path_(std::move(path)) {
    tool::refuse_output_over_input(path_, inputs);
    if (tool::is_standard_output(path_))
        throw tool::UsageError("the report and standard output are one file");
    file_ = Descriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file_.is_open()) throw std::system_error(errno, std::generic_category(), path_);
}

// After a failure, which is told: what there is of it may be of use.
ReportFile::~ReportFile() {
    static_cast<void>(write_all(file_.get(), waiting_));
}

void ReportFile::write(const std::string &line) {
    waiting_ += line;
    if (waiting_.size() >= max_waiting) finish();
}

void ReportFile::finish() {
    // Taken out first, so that the destructor doesn't write again what has failed.
    const std::string text = std::exchange(waiting_, "");
    if (!write_all(file_.get(), text))
        throw std::system_error(errno, std::generic_category(), path_);
}

}  // namespace vrn::exporter
