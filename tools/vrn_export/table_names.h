// Names of tables in an output folder, and what earlier runs left under them.
#pragma once

#include <map>
#include <string>

#include "vrn_export/whole_file.h"

namespace vrn::exporter {

// Where the tables of a run go.
struct TablePlaces {
    std::string folder;
    std::string suffix;  // ".csv.gz"
};

// Gives the tables, which are whole, their names. Those of the suffix that an earlier run made and
// this one has not are told on standard error: they stay, for a run for each type may fill one
// folder. What was made lies in a list in the folder, also after a kill. Throws std::system_error
// when a file can't be written.
void give_names(const TablePlaces &places, const std::map<std::string, WholeFile *> &tables);

}  // namespace vrn::exporter
