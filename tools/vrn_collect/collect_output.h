// Where a run's data goes: schemas beside the data, and for each source one stream each of
// counters, events and metrics.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "data/writer/data_writer.h"
#include "vrn_collect/collect_options.h"
#include "vrn_collect/counters_record.h"
#include "vrn_collect/metrics_record.h"
#include "vrn_collect/page_output.h"
#include "vrn_collect/schema_files.h"

namespace vrn::collect {

struct SourceStreams {
    PageOutput counters;
    EventOutput events;
    PageOutput metrics;
};

class CollectOutput {
  public:
    // Stores the schemas; `sample` tells the counters of all samples. Throws tool::UsageError, with
    // nothing touched, and std::runtime_error.
    CollectOutput(const CollectOptions &options, const ProcSample &sample);

    void add(const ProcSample &sample);

    // Stores what is gathered and ends all files. False, after a line on standard error for each
    // kind of loss, when not everything was stored.
    [[nodiscard]] bool finish();

  private:
    void add_source(const std::string &name, const PageSettings &counters,
                    const PageSettings &events, const PageSettings &metrics);
    bool has_node_infos() const;

    std::optional<vrn_page_encoding_t> encoding_;
    std::set<std::string> sources_;
    SchemaFiles schemas_;
    vrn_counters_schema_ptr counters_schema_;
    MetricsRecord metrics_record_;
    vrn_data_writer_ptr writer_;
    std::vector<SourceStreams> streams_;
};

}  // namespace vrn::collect
