// Debug lines that show what a CNTX block holds. Below debug level they cost a test of the level.
#pragma once

#include <string>
#include <vector>

#include "metrics/cntx_block_tables.h"
#include "metrics/metrics_batch.h"

namespace vrn::metrics {

// The strings with "," between them.
std::string join_strings(const std::vector<std::string> &strings);

void dump_label_names(const LabelNames &label_names);
void dump_string_tables(const std::vector<std::string> &label_values,
                        const std::vector<std::string> &metric_names);

// Labels that have no text are left out; whoever needs their text reports them.
void dump_metric_records(const std::vector<MetricRecord> &records,
                         const std::vector<std::string> &label_values);

}  // namespace vrn::metrics
