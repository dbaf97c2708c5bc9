// What becomes of the records of data files as series, as both hosts of the chart page offer it.
#pragma once

#include <string>
#include <vector>

#include "common/command_line.h"
#include "metrics/store/typed_metrics_data.h"

namespace vrn::series {

struct SeriesOptions {
    std::vector<std::string> select{};        // shell patterns over names of series; empty: all
    std::vector<std::string> label_fields{};  // of events, dotted when nested
    std::string schema_folder{};              // empty: looked for near each file
    bool use_metadata = false;                // names and labels of counters from a metadata file
};

// The rows of a command line that fill `options`.
std::vector<tool::Option> series_option_rows(SeriesOptions *options);

// What the store of a page needs, before anything goes into it: it takes the names that are
// selected, and derives plain series from histograms. Texts of labels come from files that anyone
// may have written: they are kept as metrics::script_text() makes them, in which form the page's
// script takes them; metrics::script_text_value() gives the text again. Names are kept as they are,
// and go into the page by metrics::markup_text().
void prepare_store(const SeriesOptions &options, metrics::MetricsHistory *store);

}  // namespace vrn::series
