// The rows of one event type on their way into a store.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "metrics/store/typed_metrics_data.h"
#include "scan/visitor.h"
#include "series/event_columns.h"
#include "series/stored_series.h"

namespace vrn::series {

class EventSeries {
  public:
    // Borrows the store, and nothing of the type.
    EventSeries(const vrn_type_definition_t &type, const std::vector<std::string> &label_fields,
                metrics::MetricsHistory *store);

    // Stores the rows, which are of the type. Throws StoreFull.
    void store(const scan::EventBatch &batch, const std::string &source);

    // False when the store has values of another type under the name of a number, or the type has
    // more numbers than are taken.
    bool takes_all_numbers() const { return takes_all_numbers_; }

  private:
    using RowSeries = std::vector<std::optional<StoredSeries>>;  // by column

    const RowSeries &series_of(const std::string &source, const std::uint8_t *row);
    RowSeries open_row_series(const std::string &source, const std::vector<std::string> &texts);

    metrics::MetricsHistory *store_;
    EventColumns columns_;
    bool takes_all_numbers_;
    // By source and texts of labels: each stands for labels in the store, whose bound is theirs.
    std::unordered_map<std::string, RowSeries> series_;
};

}  // namespace vrn::series
