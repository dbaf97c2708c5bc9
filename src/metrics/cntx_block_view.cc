#include "metrics/cntx_block_view.h"

#include <algorithm>
#include <cstring>

#include "metrics/metrics_debug.h"
#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {

std::uint32_t read_total_size(Bytes mark) {
    if (mark.empty()) {
        VRN_LOG(VRN_LOG_DEBUG,
                "[vrn metrics parser] Missing 'CNTX' magic number in the binary data");
        return 0;
    }
    // The block that a reader hands over may end within the field.
    std::uint32_t total_size = 0;
    const Bytes field = mark.subspan(MARK_SIZE);
    std::memcpy(&total_size, field.data(), std::min(field.size(), sizeof total_size));
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] total_size: %u", total_size);
    return total_size;
}

void CntxBlockView::read(Bytes block, Bytes mark) {
    read_total_size(mark);  // for its debug line: the caller has cut the block
    Bytes rest = read_label_sets(block, &label_sets);
    show_label_sets(label_sets);
    rest = read_string_section(rest, "LBLV", "lblv", &label_values);
    rest = read_string_section(rest, "CNTI", "cnti", &metric_names);
    show_string_tables(label_values, metric_names);
    // Deliberate: only the first half of the trailer is compared here.
    records = find_record_section(rest, TRAILER.substr(0, MARK_SIZE));
    between = rest.first(rest.size() - records.base.size() - MARK_SIZE);
    // After all lines about the tables, and before any fault that the records of the block have.
    show_records(records, label_values);
}

CntxBlockTables CntxBlockView::copy_label_tables() const {
    // A block may hold any number of sets, but a labels block names them by one byte.
    constexpr std::size_t nameable = 256;
    CntxBlockTables tables;
    append_names({label_sets.begin(), label_sets.begin() + std::min(label_sets.size(), nameable)},
                 &tables.label_names);
    tables.label_values.assign(label_values.begin(), label_values.end());
    return tables;
}

}  // namespace vrn::metrics
