#include "vrn_export/part_output.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "common/shown_text.h"
#include "vrn_export/part_name.h"
#include "vrn_export/report_text.h"
#include "vrn_export/shard_folder.h"
#include "vrn_export/table_piece.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {
namespace {

class PartFile {
  public:
    PartFile(const std::string &path, std::string name, const struct stat &input,
             PartJournal *journal)
        : file_(path), name_(std::move(name)), input_(input), journal_(journal) {}

    void write(std::string_view bytes) { file_.write(bytes); }

    void finish(FileReport *report) {
        report->part = name_;
        report->bytes_out = file_.size();
        // It changes while it is read, or has; whoever resumes looks at it again.
        file_.take_time(input_);
        // A line never stands for another part than the one under the name: one without a line is
        // made anew.
        journal_->forget(name_);
        file_.finish();
        journal_->add(*report);
    }

  private:
    WholeFile file_;
    std::string name_;
    struct stat input_;
    PartJournal *journal_;
};

class TextPart final : public FileOutput {
  public:
    TextPart(PartFile file, const TextForm &form)
        : file_(std::move(file)),
          text_(form, "", [this](std::string_view bytes) { file_.write(bytes); }) {}

    void write(const Encoded &encoded) override {
        // Such formats have one table, or none when a run gave no text.
        for (const Encoded::Table &table : encoded.tables) text_.add(table.text.view());
    }
    void finish(FileReport *report) override {
        text_.finish();
        file_.finish(report);
    }

  private:
    PartFile file_;
    TextOutput text_;
};

// Of a format with a file for each table: its rows, with the heads that a join needs.
class RowsPart final : public FileOutput {
  public:
    RowsPart(PartFile file, std::string suffix, const TextForm &form)
        : file_(std::move(file)),
          suffix_(std::move(suffix)),
          format_(form.format),
          compressor_(form.compression) {}

    void write(const Encoded &encoded) override {
        for (const Encoded::Table &table : encoded.tables) {
            if (table.text.size() == 0) continue;
            compressor_.pack(format_.head(table.name), &head_);
            file_.write(piece_line(
                {table_file_name(table.name, suffix_), head_.size(), table.text.size()}));
            file_.write(head_.view());
            file_.write(table.text.view());
        }
    }
    void finish(FileReport *report) override { file_.finish(report); }

  private:
    PartFile file_;
    std::string suffix_;
    const Format &format_;
    Compressor compressor_;
    TextBuffer head_;
};

std::uint64_t size_of(const struct stat &status) {
    return static_cast<std::uint64_t>(status.st_size);
}

bool is_before(const timespec &left, const timespec &right) {
    return std::pair(left.tv_sec, left.tv_nsec) < std::pair(right.tv_sec, right.tv_nsec);
}

}  // namespace

PartOutput::PartOutput(std::string folder, std::string suffix,
                       const std::vector<tool::InputFile> &files, const tool::InputIds &inputs,
                       const TextForm &form, PartJournal *journal)
    : folder_(std::move(folder)),
      suffix_(std::move(suffix)),
      files_(files),
      inputs_(inputs),
      form_(form),
      journal_(journal) {}

bool PartOutput::has_file(std::size_t index, FileReport *report) {
    if (!journal_->has_resumed()) return false;
    const std::string &path = files_[index].path;
    const std::string name = name_of(path);
    struct stat input {};
    struct stat part {};
    if (stat(path.c_str(), &input) != 0 || stat((folder_ + "/" + name).c_str(), &part) != 0)
        return false;
    const std::optional<std::string> line = journal_->find(name);
    FileReport kept;
    if (!line || !parse_report_line(*line, &kept)) return false;
    // A part bears the time of its input, so an input that was changed since is younger. One that
    // was restored may be older, but rarely has the same size.
    if (kept.needs_retry || size_of(part) != kept.bytes_out || size_of(input) != kept.bytes_in ||
        is_before(part.st_mtim, input.st_mtim))
        return false;
    *report = std::move(kept);
    report->path = path;
    report->is_kept = true;
    return true;
}

std::unique_ptr<FileOutput> PartOutput::begin_file(std::size_t index, const InputFeed &feed) {
    std::string name = name_of(files_[index].path);
    const std::string path = folder_ + "/" + name;
    inputs_.spare(path);
    PartFile file(path, std::move(name), feed.status(), journal_);
    if (form_.format.has_file_per_table())
        return std::make_unique<RowsPart>(std::move(file), suffix_, form_);
    return std::make_unique<TextPart>(std::move(file), form_);
}

std::string PartOutput::name_of(const std::string &path) const {
    const std::string name = part_name(path, suffix_);
    return form_.format.has_file_per_table() ? rows_folder_name + ("/" + name) : name;
}

void PartOutput::pass_over(FileReport *report) {
    const std::string part = name_of(report->path);
    // Not removed: a run for each source may fill one folder.
    if (journal_->has_earlier(part)) report->stale_part = part;
}

}  // namespace vrn::exporter
