// A file for each table of a format, for all inputs.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "common/input_files.h"
#include "vrn_export/file_output.h"
#include "vrn_export/text_output.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {

class TableOutput final : public ExportOutput {
  public:
    // Borrows `inputs`, which no table replaces.
    TableOutput(std::string folder, std::string suffix, const tool::InputIds &inputs,
                const TextForm &form)
        : folder_(std::move(folder)), suffix_(std::move(suffix)), inputs_(inputs), form_(form) {}

    bool is_ordered() const override { return true; }
    std::unique_ptr<FileOutput> begin_file(std::size_t index, const InputFeed &feed) override;
    void finish() override;

    void add(const Encoded &encoded);

  private:
    struct Table {
        explicit Table(const std::string &path, const TextForm &form, const std::string &name)
            : file(path), text(form, name, [this](std::string_view bytes) { file.write(bytes); }) {}

        WholeFile file;
        TextOutput text;
    };

    std::string path_of(const std::string &table);

    std::string folder_;
    std::string suffix_;
    const tool::InputIds &inputs_;
    TextForm form_;
    std::map<std::string, std::unique_ptr<Table>> tables_;  // by name
    std::set<std::string> paths_;
};

}  // namespace vrn::exporter
