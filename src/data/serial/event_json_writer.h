// Event records as JSON text.
#pragma once

#include "data/schema/type_definition.h"
#include "data/text/json_text.h"

// Appends one record of `type->size` bytes to `text`: what parson prints for vrn_event_to_json.
// Nothing is appended when the record can't be expressed, which is told by false, or memory runs
// out, by std::bad_alloc. Give records 8 bytes of readable slack.
[[nodiscard]] bool vrn_event_write_json(const vrn_type_definition_t *type, const void *record,
                                        vrn::JsonText *text);
