// The rows of one counters schema on their way into a store.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "counters/counters_schema.h"
#include "counters/metadata.h"
#include "metrics/store/typed_metrics_data.h"
#include "scan/visitor.h"
#include "series/stored_series.h"

namespace vrn::series {

class CounterSeries {
  public:
    // Borrows all; `metadata` may be null.
    CounterSeries(const vrn_counters_schema_t &schema, const vrn_metadata_t *metadata,
                  metrics::MetricsHistory *store);

    // Stores the row, which is of the schema. Throws StoreFull.
    void store(const scan::CountersBlock &block, const std::string &source);

    // False when the store has values of another type under the name of a counter.
    bool takes_all_numbers() const { return takes_all_numbers_; }

  private:
    struct Column {
        const vrn_counter_info_t *counter;
        std::string name;
        metrics::LabelMap labels;
    };
    using RowSeries = std::vector<std::optional<StoredSeries>>;  // by column

    const RowSeries &series_of(const std::string &source);

    metrics::MetricsHistory *store_;
    std::vector<Column> columns_;
    bool takes_all_numbers_ = true;
    std::unordered_map<std::string, RowSeries> series_;  // by source
};

}  // namespace vrn::series
