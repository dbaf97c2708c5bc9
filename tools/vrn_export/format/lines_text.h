// Texts as the line protocol of InfluxDB takes them, so that InfluxDB 1.x and VictoriaMetrics read
// the same. Both end a line at any line feed, and they differ in what a backslash before another
// backslash or at an end means: names and tag values have neither.
#pragma once

#include <string>
#include <string_view>

#include "data/text/text_buffer.h"

namespace vrn::exporter {

// A measurement, tag key or field key, which is never empty. Control characters become "_",
// backslashes "/", double quotes "'"; bytes that are no UTF-8 are replaced by U+FFFD, each.
void append_lines_name(std::string_view name, TextBuffer *to);
std::string lines_name(std::string_view name);

// Likewise, but quotes stay, and an empty value is the caller's to leave out.
void append_lines_tag_value(std::string_view value, TextBuffer *to);

// A text field with its quotes. Line feeds become spaces. True when it stands there as it was.
bool append_lines_text(std::string_view text, TextBuffer *to);

}  // namespace vrn::exporter
