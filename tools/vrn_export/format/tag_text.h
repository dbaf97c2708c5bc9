// Values of a row as the text of a tag or label.
#pragma once

#include <cstdint>

#include "data/text/text_buffer.h"
#include "vrn_export/format/row_value.h"

namespace vrn::exporter {

// Texts as they stand there, any bytes; nothing for a value that is missing.
void append_tag_text(const RowValue &value, const std::uint8_t *row, TextBuffer *to);

}  // namespace vrn::exporter
