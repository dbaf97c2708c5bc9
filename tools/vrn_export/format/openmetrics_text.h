// Names and texts of the OpenMetrics text format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "data/text/text_buffer.h"

namespace vrn::exporter {

// `name` of a family with each byte that it can't have as "_", and "_" before a digit or nothing.
// Colons are for rules that Prometheus keeps itself.
std::string openmetrics_name(std::string_view name);

// Likewise of a label; names that begin with "__" are Prometheus's own and get "label" before it.
std::string openmetrics_label_name(std::string_view name);

// A label's value without its quotes. Bytes that are no UTF-8 are replaced by U+FFFD, each.
void append_openmetrics_value(std::string_view value, TextBuffer *to);

// The shortest text that reads as the same number; "NaN", "+Inf", "-Inf".
void append_openmetrics_double(double value, TextBuffer *to);

// The text of a bucket's bound, which says that it is no integer: "1.0", "1e+06", "+Inf".
std::string openmetrics_bound(double bound);

// Microseconds as seconds.
void append_openmetrics_time(std::uint64_t time, TextBuffer *to);

}  // namespace vrn::exporter
