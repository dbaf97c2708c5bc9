// Tables put together from the parts of inputs.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/input_files.h"
#include "vrn_export/table_names.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {

// Functions throw std::runtime_error when a part can't be read or holds something else, and
// std::system_error when a table can't be written.
class TableJoin {
  public:
    // The tables appear in the folder of the run, in which the parts lie. Borrows `inputs`, which
    // none of them replaces.
    TableJoin(TablePlaces places, const tool::InputIds &inputs)
        : places_(std::move(places)), inputs_(inputs) {}

    // Parts in the order of their rows.
    void add(const std::string &part);
    // All parts are added. Returns the names of the tables' files.
    std::vector<std::string> finish();

  private:
    struct Table {
        std::string name;
        WholeFile file;
    };

    Table &table_of(const std::string &file, const std::string &head);

    TablePlaces places_;
    const tool::InputIds &inputs_;
    std::map<std::pair<std::string, std::string>, Table> tables_;  // by file and head
    std::set<std::string> names_;
};

}  // namespace vrn::exporter
