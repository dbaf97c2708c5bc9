#include "vrn_export/part_output.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "common/shown_text.h"
#include "vrn_export/part_name.h"
#include "vrn_export/report_text.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {
namespace {

class Part final : public FileOutput {
  public:
    Part(const std::string &path, std::string name, const struct stat &input, const TextForm &form,
         PartJournal *journal)
        : file_(path),
          name_(std::move(name)),
          input_(input),
          text_(form, "", [this](std::string_view bytes) { file_.write(bytes); }),
          journal_(journal) {}

    void write(const Encoded &encoded) override {
        // Formats with parts have one table, or none when a run gave no text.
        for (const Encoded::Table &table : encoded.tables) text_.add(table.text.view());
    }

    void finish(FileReport *report) override {
        text_.finish();
        report->part = name_;
        report->bytes_out = text_.bytes();
        // It changes while it is read, or has; whoever resumes looks at it again.
        file_.take_time(input_);
        // First: a part without a line would be made anew, a line without its part says nothing.
        journal_->add(report_line(*report));
        file_.finish();
    }

  private:
    WholeFile file_;
    std::string name_;
    struct stat input_;
    TextOutput text_;
    PartJournal *journal_;
};

bool is_before(const timespec &left, const timespec &right) {
    return std::pair(left.tv_sec, left.tv_nsec) < std::pair(right.tv_sec, right.tv_nsec);
}

}  // namespace

PartOutput::PartOutput(std::string folder, std::string suffix,
                       const std::vector<tool::InputFile> &files, const TextForm &form,
                       PartJournal *journal)
    : folder_(std::move(folder)),
      suffix_(std::move(suffix)),
      files_(files),
      form_(form),
      journal_(journal) {
    for (const tool::InputFile &file : files) inputs_.push_back(file.id);
    std::ranges::sort(inputs_);
}

bool PartOutput::has_file(std::size_t index, FileReport *report) {
    if (!journal_->has_resumed()) return false;
    const std::string &path = files_[index].path;
    const std::string name = part_name(path, suffix_);
    struct stat input {};
    struct stat part {};
    if (stat(path.c_str(), &input) != 0 || stat((folder_ + "/" + name).c_str(), &part) != 0)
        return false;
    const std::optional<std::string> line = journal_->find(name);
    FileReport kept;
    if (!line || !parse_report_line(*line, &kept)) return false;
    // A part bears the time of its input, so an input that was changed since is younger.
    if (static_cast<std::uint64_t>(part.st_size) != kept.bytes_out ||
        is_before(part.st_mtim, input.st_mtim))
        return false;
    *report = std::move(kept);
    report->path = path;
    report->is_kept = true;
    report->kept_line = *line;
    return true;
}

std::unique_ptr<FileOutput> PartOutput::begin_file(std::size_t index, const InputFeed &feed) {
    std::string name = part_name(files_[index].path, suffix_);
    const std::string path = folder_ + "/" + name;
    // By identity, so that links to an input are found as well.
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 &&
        std::ranges::binary_search(inputs_, tool::FileId(status)))
        throw std::runtime_error(tool::shown_text(path) + " is an input, and would be replaced");
    return std::make_unique<Part>(path, std::move(name), feed.status(), form_, journal_);
}

void PartOutput::pass_over(const FileReport &report) {
    journal_->add(report_line(report));
}

}  // namespace vrn::exporter
