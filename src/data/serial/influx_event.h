// Event records in the line protocol.
#pragma once

#include <cstdint>
#include <string_view>

#include "data/schema/type_definition.h"
#include "data/text/text_buffer.h"

// Appends the items "key=value" of one record of `type->size` bytes, joined by commas; nothing for
// a type without fields. Numeric arrays have no item. False, with nothing appended, when the items
// take more than influx_text_limit() allows. Throws std::bad_alloc.
[[nodiscard]] bool vrn_influx_write_event(const vrn_type_definition_t *type, const void *record,
                                          vrn::TextBuffer *text);

namespace vrn::data {

// As vrn_influx_write_event(), up to a given size.
[[nodiscard]] bool influx_write_event_fields(const vrn_type_definition_t *type, const void *record,
                                             std::uint64_t max_size, TextBuffer *text);

// Appends a whole line, which begins with its measurement and tags, `start`; `timestamp` is in
// microseconds. False when its fields take more than `max_size` bytes: what stands there is to be
// refused.
[[nodiscard]] bool influx_write_event_line(std::string_view start,
                                           const vrn_type_definition_t *type, const void *record,
                                           std::uint64_t timestamp, std::uint64_t max_size,
                                           TextBuffer *text);

}  // namespace vrn::data
