// Tables of metrics: a row for each sample of each record, and one for each histogram.
#pragma once

#include <memory>

#include "sql/file_set.h"
#include "sql/table.h"

namespace vrn::sql {

// `time`, `metric`, `labels`, `value` and, of whole numbers, `exact`.
std::unique_ptr<Table> make_metrics_table(FileSet files, RecordFilter filter);
// `time`, `histogram`, `labels`, `buckets`, `sum`, `count`.
std::unique_ptr<Table> make_histogram_table(FileSet files, RecordFilter filter);

bool has_metrics(const FileSet &files);

}  // namespace vrn::sql
