// A CNTX block, in place: its tables and where its records stand.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "metrics/cntx_block_tables.h"
#include "metrics/record_section.h"
#include "metrics/table_sections.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// Used for one block after the other it keeps its memory, which doesn't grow with the records.
struct CntxBlockView {
    // Those that records can name. Sets behind them are checked and shown, not kept.
    std::array<LabelSetView, 256> label_sets;
    std::size_t num_label_sets = 0;
    std::vector<std::string_view> label_values;
    std::vector<std::string_view> metric_names;
    RecordSection records;

    // Finds the tables and the records of `block`, which must stay in place while they are used. At
    // debug level it shows the block, records included. Throws std::runtime_error when a table is
    // malformed; the records are for their walk to check.
    void read(Bytes block);

    // A copy of the label sets and label values.
    CntxBlockTables copy_label_tables() const;

  private:
    Bytes read_label_sets(Bytes block);
};

}  // namespace vrn::metrics
