#include "metrics/cntx_block_view.h"

#include <algorithm>

#include "metrics/metrics_debug.h"
#include "metrics/metrics_parser.h"
#include "metrics/section_mark.h"

namespace vrn::metrics {

void CntxBlockView::read(Bytes block) {
    VrnMetricsParser::find_cntx_total_size(block);  // for its debug line
    Bytes rest = read_label_sets(block);
    show_label_names(block);
    rest = read_string_section(rest, "LBLV", "lblv", &label_values);
    rest = read_string_section(rest, "CNTI", "cnti", &metric_names);
    show_string_tables(label_values, metric_names);
    // Only the first half of the trailer is compared here.
    records = find_record_section(rest, TRAILER.substr(0, MARK_SIZE));
    show_records(records, label_values);
}

Bytes CntxBlockView::read_label_sets(Bytes block) {
    Bytes behind = block.subspan(std::min(MARK_SIZE, block.size()));
    num_label_sets = 0;
    LabelSetView set;
    for (Bytes rest = block; read_label_set(rest, &set, &behind); rest = behind)
        if (num_label_sets < label_sets.size()) label_sets[num_label_sets++] = set;
    return behind;
}

CntxBlockTables CntxBlockView::copy_label_tables() const {
    CntxBlockTables tables;
    for (std::size_t id = 0; id < num_label_sets; ++id)
        tables.label_names[id] = names_of(label_sets[id]);
    tables.label_values.assign(label_values.begin(), label_values.end());
    return tables;
}

}  // namespace vrn::metrics
