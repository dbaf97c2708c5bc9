// A CNTX block, in place: its tables and where its records stand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "metrics/cntx_block_tables.h"
#include "metrics/record_section.h"
#include "metrics/table_sections.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// Size of the block whose "CNTX" starts `mark`, shown at debug level; 0 when `mark` is empty. Bytes
// that it lacks read as zeros.
std::uint32_t read_total_size(Bytes mark);

// Used for one block after the other it keeps its memory, which doesn't grow with the records.
struct CntxBlockView {
    std::vector<LabelSetView> label_sets;  // by id; records can name the first 256
    std::vector<std::string_view> label_values;
    std::vector<std::string_view> metric_names;
    Bytes between;  // the tables and the records: histograms stand there
    RecordSection records;

    // Finds the tables and the records of `block`, which must stay in place while they are used;
    // `mark` are its bytes from "CNTX" on. At debug level it shows the block, records included.
    // Throws std::runtime_error when a table is malformed; the records are for their walk to check.
    void read(Bytes block, Bytes mark);

    // A copy of the label sets that records can name, and of the label values.
    CntxBlockTables copy_label_tables() const;
};

}  // namespace vrn::metrics
