// A thread that makes rows of metric samples.
#pragma once

#include <optional>
#include <vector>

#include "sql/label_column.h"
#include "sql/metrics_reader.h"
#include "sql/metrics_scan.h"

namespace vrn::sql {

// Places of the columns; those of names follow.
enum SampleColumn : std::uint8_t {
    sample_time,
    sample_metric,
    sample_labels,
    sample_value,
    sample_exact,
    num_sample_columns,
};
std::vector<Column> sample_columns();

class SampleThread final : public ScanThread {
  public:
    SampleThread(const RecordFilter &filter, const std::vector<std::size_t> &projection,
                 RunQueue *queue)
        : filter_(filter), projection_(projection), stream_(filter, queue) {}

    std::size_t fill(duckdb_data_chunk chunk) override;

  private:
    bool find_samples();
    bool next_record();
    void put_samples(duckdb_data_chunk chunk, std::size_t at, std::size_t count);
    void put_metric_names(duckdb_vector vector, std::size_t at, std::size_t count);
    void put_values(duckdb_vector vector, std::size_t at, std::size_t count) const;
    void put_exact_values(duckdb_vector vector, std::size_t at, std::size_t count) const;
    void put_labels(duckdb_vector vector, std::size_t at, std::size_t count);

    const RecordFilter &filter_;
    const std::vector<std::size_t> &projection_;
    BlockStream stream_;
    MetricsCursor cursor_;
    const StagedBlock *block_ = nullptr;
    std::vector<metrics::MetricSample> samples_;  // of the record, those with a name
    std::size_t used_ = 0;                        // of them
    // In the vectors that are filled at present.
    std::optional<LabelColumn> label_column_;
    std::optional<duckdb_list_entry> labels_;            // of the record
    std::vector<std::optional<duckdb_string_t>> names_;  // of the block's metrics
};

}  // namespace vrn::sql
