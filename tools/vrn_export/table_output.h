// A file for each table of a format, for all inputs.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "common/input_files.h"
#include "vrn_export/file_output.h"
#include "vrn_export/table_names.h"
#include "vrn_export/text_output.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {

class TableOutput final : public ExportOutput {
  public:
    // Borrows `inputs`, which no table replaces.
    TableOutput(TableRun run, const tool::InputIds &inputs, const TextForm &form)
        : run_(std::move(run)), inputs_(inputs), form_(form) {}

    bool is_ordered() const override { return true; }
    std::unique_ptr<FileOutput> begin_file(std::size_t index, const InputFeed &feed) override;
    void pass_over(FileReport *report) override { note(*report); }
    void finish() override;

    void add(const Encoded &encoded);
    // What became of a file.
    void note(const FileReport &report) {
        if (report.num_faults > 0) has_faults_ = true;
    }

  private:
    struct Table {
        explicit Table(const TableRun &run, std::string file_name, const TextForm &form,
                       const std::string &table)
            : name(std::move(file_name)),
              file(run.folder + "/" + name),
              text(form, table, [this](std::string_view bytes) { file.write(bytes); }) {}

        std::string name;  // of the file
        WholeFile file;
        TextOutput text;
    };

    std::string file_name_of(const std::string &table);

    TableRun run_;
    const tool::InputIds &inputs_;
    TextForm form_;
    std::map<std::string, std::unique_ptr<Table>> tables_;  // by name
    std::set<std::string> names_;                           // of files
    std::atomic<bool> has_faults_ = false;
};

}  // namespace vrn::exporter
