#include "reader/metrics_block_handler.h"

#include <algorithm>
#include <exception>
#include <vector>

#include "metrics/metrics_json.h"
#include "metrics/metrics_parser.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace {

using vrn::metrics::VrnMetricsParser;

// Null when the format can be printed.
const char *refusal_of(vrn_output_format_t format) {
    switch (format) {
        case VRN_FORMAT_JSON:
        case VRN_FORMAT_NDJSON:
            return nullptr;
        case VRN_FORMAT_CSV:
            return "CSV output is not supported yet";
        case VRN_FORMAT_INFLUX:
            return "Influx line API output is not yet supported for metrics data";
        default:
            return "Unsupported output format";
    }
}

bool print_metrics(vrn_reader_t *reader, vrn::Bytes bytes) {
    const std::size_t total_size = VrnMetricsParser::find_cntx_total_size(bytes);
    const vrn::Bytes block = bytes.first(std::min(total_size, bytes.size()));
    vrn::metrics::CntxBlockTables tables;
    std::vector<vrn::metrics::MetricRecord> records;
    VrnMetricsParser::parse_cntx_block(block, &tables.label_names, &tables.label_values,
                                       &tables.metric_names, &records);
    tables.constant_labels = VrnMetricsParser::parse_constant_labels(block);

    if (const char *refusal = refusal_of(reader->options->format)) {
        vrn_reader_fail(reader, "%s", refusal);
        return true;
    }
    const vrn::CPtr<JSON_Value, json_value_free> value(
        vrn::metrics::metrics_to_json(tables, records, reader->options->microsecond_precision));
    if (!value) {
        vrn_reader_fail(reader, "Failed to JSONify metric values");
        return false;
    }
    vrn_reader_print_json(reader, value.get());
    return true;
}

}  // namespace

bool vrn_reader_handle_metrics_block(vrn_reader_t *reader, const void *block, std::size_t size) {
    try {
        return print_metrics(reader, {static_cast<const std::uint8_t *>(block), size});
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "failed to parse full block: %s", error.what());
        return false;
    }
}
