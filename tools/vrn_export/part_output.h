// A file of its own for each input: the output, or rows that are still to be joined to tables.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/input_files.h"
#include "vrn_export/file_output.h"
#include "vrn_export/part_journal.h"
#include "vrn_export/text_output.h"

namespace vrn::exporter {

class PartOutput final : public ExportOutput {
  public:
    // Borrows the files, of which the parts are made, `inputs`, which they don't replace, and the
    // journal. `suffix` is that of the parts. Parts that are there and newer than their inputs are
    // kept when the journal has resumed; those that an earlier run has made of inputs that are no
    // longer selected are removed.
    PartOutput(std::string folder, std::string suffix, const std::vector<tool::InputFile> &files,
               const tool::InputIds &inputs, const TextForm &form, PartJournal *journal);

    bool is_ordered() const override { return false; }
    bool has_file(std::size_t index, FileReport *report) override;
    std::unique_ptr<FileOutput> begin_file(std::size_t index, const InputFeed &feed) override;
    void pass_over(FileReport *report) override;

  private:
    std::string name_of(const std::string &path) const;  // of the input's part, below the folder

    std::string folder_;
    std::string suffix_;
    const std::vector<tool::InputFile> &files_;
    const tool::InputIds &inputs_;
    TextForm form_;
    PartJournal *journal_;
};

}  // namespace vrn::exporter
