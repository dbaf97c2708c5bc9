#include "vrn_export/format/json_value_text.h"

#include "common/json_string.h"
#include "data/text/json_string.h"

namespace vrn::exporter {

void append_json_text(std::string_view text, TextBuffer *to) {
    if (!append_checked_json_string(text, to)) to->append(tool::json_string(text));
}

void append_json_double(double value, const Output &out) {
    char *const end = write_json_double(out.text->reserve(double_text_size), value, out.counts);
    out.text->advance_to(end);
}

void append_json_number(const MetricSample &sample, MetricValueForm form, const Output &out) {
    if (form == MetricValueForm::unsigned_integer)
        out.text->integer(sample.bits);
    else if (form == MetricValueForm::signed_integer)
        out.text->integer(sample.as_signed());
    else
        append_json_double(sample.as_double(), out);
}

void append_json_labels(std::span<const MetricLabel> labels, TextBuffer *to) {
    to->append('{');
    for (const MetricLabel &label : labels) {
        if (&label != labels.data()) to->append(',');
        append_json_text(label.name, to);
        to->append(':');
        append_json_text(label.value, to);
    }
    to->append('}');
}

void append_json_buckets(const metrics::Histogram &histogram, const Output &out) {
    out.text->append('[');
    for (const metrics::Bucket &bucket : histogram.buckets) {
        out.text->append(&bucket == histogram.buckets.data() ? "{\"le\":" : ",{\"le\":");
        append_json_double(bucket.upper_bound, out);
        out.text->append(",\"count\":");
        out.text->integer(bucket.count);
        out.text->append('}');
    }
    out.text->append(']');
}

}  // namespace vrn::exporter
