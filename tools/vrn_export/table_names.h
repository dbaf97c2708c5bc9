// Names of tables in an output folder, and what earlier runs left under them.
#pragma once

#include <map>
#include <string>

#include "common/input_files.h"
#include "vrn_export/whole_file.h"

namespace vrn::exporter {

// What the tables of a run have in common.
struct TableRun {
    std::string folder;
    std::string suffix;  // ".csv.gz"
    std::string inputs;  // tells apart what they are made of
    bool is_whole;       // all inputs were found and none has a fault
};

// Gives the tables, which are whole, their names. Those of the suffix that an earlier run made of
// the same inputs and this one has not are removed when the run is whole; otherwise they are told
// on standard error and stay. What is known lies in the folder, also after a kill; files that are
// not known are left alone, and so are inputs. Throws std::system_error when a file can't be
// written.
void give_names(const TableRun &run, const std::map<std::string, WholeFile *> &tables,
                const tool::InputIds &inputs);

}  // namespace vrn::exporter
