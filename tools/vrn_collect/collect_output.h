// Where a run's data goes: schemas beside the data, and one stream each of counters, events and
// metrics.
#pragma once

#include "data/data_writer.h"
#include "data/schema_writer.h"
#include "vrn_collect/collect_options.h"
#include "vrn_collect/counters_record.h"
#include "vrn_collect/metrics_record.h"
#include "vrn_collect/page_output.h"

namespace vrn::collect {

// A writer of DIR/data under the limits, templates and filters of `options`. Throws
// std::runtime_error when they are refused.
vrn_data_writer_ptr make_data_writer(const CollectOptions &options);

class CollectOutput {
  public:
    // Stores the schemas; `sample` tells the counters of all samples. Throws std::runtime_error.
    CollectOutput(const CollectOptions &options, const ProcSample &sample);

    void add(const ProcSample &sample);
    void finish();

  private:
    vrn_data_writer_ptr writer_;
    vrn::SchemaWriter schema_writer_;
    vrn_counters_schema_ptr counters_schema_;
    MetricsRecord metrics_record_;
    PageSettings common_;  // of all streams
    PageOutput counters_;
    EventOutput events_;
    PageOutput metrics_;
};

}  // namespace vrn::collect
