#include "reader/metrics_output.h"

#include <exception>
#include <new>

#include "metrics/metrics_json_writer.h"
#include "utils/log.h"

namespace vrn::reader {

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

}  // namespace

MetricsOutput::MetricsOutput() = default;
MetricsOutput::~MetricsOutput() = default;

bool MetricsOutput::show(Bytes block, FileOutput *output) {
    try {
        return print(block, output);
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "failed to parse full block: %s", error.what());
        // Padding excuses a block, but not that memory ran out.
        if (dynamic_cast<const std::bad_alloc *>(&error)) throw;
        return false;
    }
}

bool MetricsOutput::print(Bytes block, FileOutput *output) {
    if (!writer_) writer_ = std::make_unique<metrics::MetricsJsonWriter>();
    writer_->read(block);
    if (const char *refusal = refusal_of(output->options.format)) {
        output->fail("%s", refusal);
        return true;
    }
    const bool done = output->add_record([&](JsonText *text) {
        return writer_->write(output->options.microsecond_precision, text);
    });
    if (!done) output->fail("Failed to JSONify metric values");
    return done;
}

}  // namespace vrn::reader
