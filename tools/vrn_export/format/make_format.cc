#include <stdexcept>

#include "counters/counter_value.h"
#include "data/serial/event_json.h"
#include "vrn_export/format/csv_format.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/format/lines_format.h"
#include "vrn_export/format/ndjson_format.h"
#include "vrn_export/format/openmetrics_format.h"

namespace vrn::exporter {

std::unique_ptr<Format> make_format(const FormatOptions &options) {
    // Each is read once; here, before there are threads.
    static_cast<void>(vrn_event_converts_guids());
    static_cast<void>(counters_convert_guids());
    switch (options.kind) {
        case FormatKind::ndjson:
            return make_ndjson_format(options);
        case FormatKind::lines:
            return make_lines_format(options);
        case FormatKind::csv:
            return make_csv_format(options);
        case FormatKind::openmetrics:
            return make_openmetrics_format(options);
    }
    throw std::logic_error("no such format");
}

}  // namespace vrn::exporter
