// Values as JSON text.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "data/text/double_text.h"
#include "data/text/number_text.h"
#include "data/text/text_buffer.h"
#include "vrn_export/format/iso_time.h"
#include "vrn_export/format/record_encoder.h"

namespace vrn::exporter {

inline char *write_word(char *out, std::string_view word) {
    std::memcpy(out, word.data(), word.size());
    return out + word.size();
}

// Of any double; the shortest text that reads as the same one, also for who takes a number without
// point and exponent for an integer.
inline constexpr std::size_t double_text_size = DOUBLE_TEXT_ROOM;

inline char *write_finite_double(char *out, double value) {
    if (value == 0 && std::signbit(value)) return write_word(out, "-0.0");
    return write_shortest_double(out, value);
}

// What is no finite number is null.
inline char *write_json_double(char *out, double value, RecordCounts *counts) {
    if (std::isfinite(value)) return write_finite_double(out, value);
    ++counts->dropped_values;
    return write_word(out, "null");
}

inline constexpr std::size_t time_text_size = iso_time_size + 2;

inline char *write_json_time(char *out, std::uint64_t time, bool is_iso) {
    if (is_iso) {
        char *const end = write_iso_time(out + 1, time);
        if (end != out + 1) {
            *out = '"';
            *end = '"';
            return end + 1;
        }
    }
    return write_integer(out, time);
}

// In quotes; bytes that are no UTF-8 are replaced by U+FFFD, each. At most 6 bytes for each of the
// text and the quotes.
void append_json_text(std::string_view text, TextBuffer *to);

void append_json_double(double value, const Output &out);
// The value of a sample.
void append_json_number(const MetricSample &sample, MetricValueForm form, const Output &out);
// {"name":"value",...}
void append_json_labels(std::span<const MetricLabel> labels, TextBuffer *to);
// [{"le":bound,"count":n},...]
void append_json_buckets(const metrics::Histogram &histogram, const Output &out);

}  // namespace vrn::exporter
