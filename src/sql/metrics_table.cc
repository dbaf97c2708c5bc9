#include "sql/metrics_table.h"

#include <algorithm>

#include "sql/histogram_thread.h"
#include "sql/sample_thread.h"

namespace vrn::sql {

std::unique_ptr<Table> make_metrics_table(FileSet files, RecordFilter filter) {
    return std::make_unique<MetricsTable<SampleThread>>(std::move(files), std::move(filter),
                                                        sample_columns());
}

std::unique_ptr<Table> make_histogram_table(FileSet files, RecordFilter filter) {
    return std::make_unique<MetricsTable<HistogramThread>>(std::move(files), std::move(filter),
                                                           histogram_columns());
}

bool has_metrics(const FileSet &files) {
    return std::ranges::any_of(files, [](const auto &file) { return file->has_metrics; });
}

}  // namespace vrn::sql
