// Input: one CNTX block, decoded and turned into JSON text.
#include <exception>

#include "metrics/metrics_json.h"
#include "metrics/metrics_parser.h"
#include "utils/c_ptr.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using vrn::metrics::VrnMetricsParser;
    const vrn::Bytes block(data, size);
    vrn::metrics::CntxBlockTables tables;
    std::vector<vrn::metrics::MetricRecord> records;
    try {
        VrnMetricsParser::parse_cntx_block(block, &tables.label_names, &tables.label_values,
                                           &tables.metric_names, &records);
        tables.constant_labels = VrnMetricsParser::parse_constant_labels(block);
    } catch (const std::exception &) {
        return 0;  // what the caller catches
    }
    const vrn::CPtr<JSON_Value, json_value_free> value(
        vrn::metrics::metrics_to_json(tables, records, true));
    const vrn::CPtr<char, json_free_serialized_string> text(json_serialize_to_string(value.get()));
    return 0;
}
