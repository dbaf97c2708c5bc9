// A thread that makes rows of histograms.
#pragma once

#include <map>
#include <vector>

#include "metrics/cntx_block_tables.h"
#include "sql/label_column.h"
#include "sql/metrics_scan.h"

namespace vrn::sql {

// Places of the columns; those of names follow.
enum HistogramColumn : std::uint8_t {
    histogram_time,
    histogram_name,
    histogram_labels,
    histogram_buckets,
    histogram_sum,
    histogram_count,
    num_histogram_columns,
};
std::vector<Column> histogram_columns();

class HistogramThread final : public ScanThread {
  public:
    HistogramThread(const RecordFilter &filter, const std::vector<std::size_t> &projection,
                    RunQueue *queue)
        : filter_(filter), projection_(projection), stream_(filter, queue) {}

    std::size_t fill(duckdb_data_chunk chunk) override;

  private:
    bool find_histogram();
    void read_block();
    void put(duckdb_data_chunk chunk, std::size_t at);
    void put_buckets(duckdb_vector vector, std::size_t at);

    const RecordFilter &filter_;
    const std::vector<std::size_t> &projection_;
    // The block below is a view into what the stream holds, valid until its next().
    BlockStream stream_;
    const StagedBlock *block_ = nullptr;
    metrics::CntxBlockTables tables_;
    std::vector<metrics::Histogram> histograms_;  // of the block
    std::size_t next_ = 0;                        // of them
    std::size_t num_buckets_ = 0;                 // in the vectors that are filled at present
};

}  // namespace vrn::sql
