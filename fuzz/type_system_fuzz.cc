// Input: the text of a schema or type-system document. One record of each type that it makes usable
// is decoded from just the bytes that a record is promised.
#include <string>
#include <vector>

#include "data/schema/type_system_json.h"
#include "data/schema/type_system_load.h"
#include "data/serial/event_json.h"
#include "data/text/json_value.h"

namespace {

constexpr std::uint64_t max_record_size = 4096;
constexpr std::size_t guid_slack = 8;

void decode_records(const vrn_type_system_t *ts) {
    for (std::size_t i = 0; i < ts->num_schemas; ++i) {
        for (std::size_t t = 0; t < ts->schemas[i]->num_types; ++t) {
            const vrn_type_definition_t *type = ts->schemas[i]->types[t];
            if (type->size > max_record_size) continue;
            const std::vector<char> record(type->size + guid_slack, 'x');
            const vrn_json_value_ptr value(vrn_event_to_json(type, record.data()));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const vrn_type_system_ptr merged(vrn_type_system_create());
    std::uint8_t index = 0;
    static_cast<void>(
        vrn_type_system_add_schema_from_json_string(merged.get(), text.c_str(), &index));
    decode_records(merged.get());
    const vrn_type_system_ptr whole(vrn_type_system_from_string(text.c_str()));
    if (!whole) return 0;
    decode_records(whole.get());
    const vrn_json_text_ptr written(vrn_type_system_to_string(whole.get(), true));
    return 0;
}
