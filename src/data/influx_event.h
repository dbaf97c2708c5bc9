// Event records in the line protocol.
#pragma once

#include <cstdint>
#include <string_view>

#include "data/schema/type_definition.h"
#include "data/text_buffer.h"

// Appends the items "key=value" of one record of `type->size` bytes, joined by commas; nothing for
// a type without fields. Numeric arrays have no item. Throws std::bad_alloc.
void vrn_influx_write_event(const vrn_type_definition_t *type, const void *record,
                            vrn::TextBuffer *text);

namespace vrn::data {

// Appends a whole line behind its measurement and tags; `timestamp` is in microseconds.
void influx_write_event_line(std::string_view start, const vrn_type_definition_t *type,
                             const void *record, std::uint64_t timestamp, TextBuffer *text);

}  // namespace vrn::data
