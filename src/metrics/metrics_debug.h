// Debug lines that show what a CNTX block holds. Below debug level they cost a test of the level.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "metrics/record_section.h"
#include "metrics/table_sections.h"

namespace vrn::metrics {

// The strings with "," between them.
std::string join_strings(const std::vector<std::string> &strings);

void show_label_sets(const std::vector<LabelSetView> &sets);
void show_string_tables(const std::vector<std::string_view> &label_values,
                        const std::vector<std::string_view> &metric_names);

// First the walk over the records, which throws as read_record() does, then what they hold. Labels
// that have no text are left out; whoever needs their text reports them.
void show_records(const RecordSection &section, const std::vector<std::string_view> &label_values);

}  // namespace vrn::metrics
