// A file for each table of a format, for all inputs.
#pragma once

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
    TableOutput(TablePlaces places, const tool::InputIds &inputs, const TextForm &form)
        : places_(std::move(places)), inputs_(inputs), form_(form) {}

    bool is_ordered() const override { return true; }
    std::unique_ptr<FileOutput> begin_file(std::size_t index, const InputFeed &feed) override;
    void finish() override;

    void add(const Encoded &encoded);

  private:
    struct Table {
        explicit Table(const TablePlaces &places, std::string file_name, const TextForm &form,
                       const std::string &table)
            : name(std::move(file_name)),
              file(places.folder + "/" + name),
              text(form, table, [this](std::string_view bytes) { file.write(bytes); }) {}

        std::string name;  // of the file
        WholeFile file;
        TextOutput text;
    };

    std::string file_name_of(const std::string &table);

    TablePlaces places_;
    const tool::InputIds &inputs_;
    TextForm form_;
    std::map<std::string, std::unique_ptr<Table>> tables_;  // by name
    std::set<std::string> names_;                           // of files
};

}  // namespace vrn::exporter
