// The records of one data file as series of a store.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "counters/metadata.h"
#include "metrics/store/typed_metrics_data.h"
#include "scan/visitor.h"
#include "series/counter_series.h"
#include "series/event_series.h"
#include "series/schema_folders.h"
#include "series/series_options.h"

namespace vrn::series {

// Metrics go to the store as they are. Each number of an event is a series "type.field" with the
// labels `source` and the label fields; each counter is one of its own name with the labels
// `source` and `group`, and those of the metadata. A source is a page's or, without one, the
// file's; empty ones are no label. Rows without a time of their own have that of their block.
//
// For a scan of the whole file or, after header(), of one run after the other: what a file said
// holds until the next header(). The store may change between runs. Its memory is bounded by that
// of the store. StoreFull passes through the scan.
class FileSeries final : public scan::Visitor {
  public:
    // Borrows all; `metadata` may be null. The store was prepared by prepare_store().
    FileSeries(const SeriesOptions &options, const vrn_metadata_t *metadata,
               metrics::MetricsHistory *store);

    // To be called when series were taken from the store, or it was replaced by `store`.
    void use_store(metrics::MetricsHistory *store);

    // What was lost of the file first, as a sentence says it of the file ("holds a damaged page");
    // empty when nothing was, and after this call.
    std::string take_loss();

    void header(const vrn_data_file_header_t &header) override;
    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override;
    scan::PageUse page(const scan::CompressedPage &page) override;
    scan::Next events(const scan::EventBatch &batch) override;
    scan::Next counters(const scan::CountersBlock &block) override;
    scan::Next metrics(const scan::PlainBlock &block) override;
    scan::Next fault(const scan::Fault &fault) override;

  private:
    // What is prepared for the records of some schemas.
    struct Plans {
        // By address: the schemas that key `PlansBySchemas` keep what is pointed to alive.
        std::map<const vrn_type_definition_t *, EventSeries> events;
        std::map<const vrn_counters_schema_t *, CounterSeries> counters;
    };
    using PlansBySchemas = std::map<std::shared_ptr<const scan::LoadedSchemas>, Plans>;

    void note_loss(const std::string &loss);
    Plans &plans() { return plans_by_schemas_[schemas_]; }
    const std::string &source_of(const scan::Place &place) const;

    const SeriesOptions &options_;
    const vrn_metadata_t *metadata_;
    metrics::MetricsHistory *store_;
    std::shared_ptr<const scan::LoadedSchemas> schemas_;
    PlansBySchemas plans_by_schemas_;
    std::string file_source_;
    std::string page_source_;
    std::string loss_;
    bool is_cut_short_ = false;  // the file's gzip stream has no end
};

// Stores the file at `path` whole, plain or compressed. False after a line when anything of it is
// lost, which is a fault in it or a store that is full; the rest is stored.
bool store_file(const std::string &path, const SeriesOptions &options, SchemaFolders *folders,
                metrics::MetricsHistory *store);

}  // namespace vrn::series
