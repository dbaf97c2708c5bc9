#include "series/series_options.h"

#include <sstream>

#include "metrics/chart/page_text.h"
#include "series/name_selection.h"

namespace vrn::series {
namespace {

void append_names(const char *value, std::vector<std::string> *names) {
    std::istringstream list(value);
    for (std::string name; std::getline(list, name, ',');)
        if (!name.empty()) names->push_back(name);
}

}  // namespace

std::vector<tool::Option> series_option_rows(SeriesOptions *options) {
    return {
        {"select", 0, "PATTERN",
         "Take only series whose name matches this shell pattern, such as 'cpu_sample.*' (may be "
         "given several times).",
         [options](const char *value) { options->select.emplace_back(value); }},
        {"label-fields", 0, "NAMES",
         "Fields of events that tell rows apart, such as cpu,name: they are labels.",
         [options](const char *value) { append_names(value, &options->label_fields); }},
        {"metadata", 0, nullptr,
         "Take names and labels of counters from the metadata file among the schemas.",
         [options](const char *) { options->use_metadata = true; }},
        {"schema-path", 's', "DIR",
         "Folder of the schema files (./schema, or else the nearest folder 'schema' above a file).",
         [options](const char *value) { options->schema_folder = value; }},
    };
}

void prepare_store(const SeriesOptions &options, metrics::MetricsHistory *store) {
    store->set_derives_histograms(true);
    store->set_label_form(metrics::script_text);
    const NameSelection selection(options.select);
    if (selection.takes_all()) return;
    // A copy of the selection: the store keeps its filter for longer than this call.
    store->set_name_filter([selection](const std::string &name) { return selection.takes(name); });
}

}  // namespace vrn::series
