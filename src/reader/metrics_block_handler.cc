#include "reader/metrics_block_handler.h"

#include <exception>

#include "metrics/metrics_json_writer.h"
#include "reader/record_text.h"
#include "utils/log.h"

namespace {

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
    if (!reader->metrics_writer) reader->metrics_writer = new vrn::metrics::MetricsJsonWriter;
    vrn::metrics::MetricsJsonWriter &metrics = *reader->metrics_writer;
    metrics.read(bytes);

    if (const char *refusal = refusal_of(reader->options->format)) {
        vrn_reader_fail(reader, "%s", refusal);
        return true;
    }
    const bool done = vrn_reader_add_record(reader, [&](vrn::JsonText *text) {
        return metrics.write(reader->options->microsecond_precision, text);
    });
    if (!done) vrn_reader_fail(reader, "Failed to JSONify metric values");
    return done;
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
