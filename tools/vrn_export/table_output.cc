#include "vrn_export/table_output.h"

#include "vrn_export/part_name.h"

namespace vrn::exporter {
namespace {

class TableFile final : public FileOutput {
  public:
    explicit TableFile(TableOutput *tables) : tables_(tables) {}

    void write(const Encoded &encoded) override {
        tables_->add(encoded);
        for (const Encoded::Table &table : encoded.tables) bytes_ += table.text.size();
    }
    // Heads belong to no file, and are not counted.
    void finish(FileReport *report) override { report->bytes_out = bytes_; }

  private:
    TableOutput *tables_;
    std::uint64_t bytes_ = 0;
};

}  // namespace

std::unique_ptr<FileOutput> TableOutput::begin_file(std::size_t /*index*/,
                                                    const InputFeed & /*feed*/) {
    return std::make_unique<TableFile>(this);
}

void TableOutput::add(const Encoded &encoded) {
    for (const Encoded::Table &table : encoded.tables) {
        // No rows, no file.
        if (table.text.size() == 0) continue;
        auto &file = tables_[table.name];
        if (!file)
            file = std::make_unique<Table>(places_, file_name_of(table.name), form_, table.name);
        file->text.add(table.text.view());
    }
}

// Long names of one digest can be made on purpose: one table must not take the file of another.
std::string TableOutput::file_name_of(const std::string &table) {
    std::string name = table_file_name(table, places_.suffix);
    for (unsigned number = 2; !names_.insert(name).second; ++number)
        name = table_file_name(table, "~" + std::to_string(number) + places_.suffix);
    inputs_.spare(places_.folder + "/" + name);
    return name;
}

void TableOutput::finish() {
    std::map<std::string, WholeFile *> files;
    for (const auto &[name, table] : tables_) {
        table->text.finish();
        files[table->name] = &table->file;
    }
    give_names(places_, files);
}

}  // namespace vrn::exporter
