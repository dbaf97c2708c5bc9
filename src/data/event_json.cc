#include "data/event_json.h"

#include <cctype>
#include <cstdlib>

#include "data/guid_switch.h"
#include "data/schema/builtin_types.h"
#include "data/value_format.h"
#include "utils/byte_reader.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace {

using JsonPtr = vrn::CPtr<JSON_Value, json_value_free>;

GuidSwitch guid_switch;

const std::uint8_t *bytes_at(const void *data, std::uint64_t offset) {
    return static_cast<const std::uint8_t *>(data) + offset;
}

template <typename T>
JSON_Value *number_at(const void *data) {
    return json_value_init_number(static_cast<double>(vrn::load_le<T>(data)));
}

JSON_Value *hex_at(const void *data) {
    const vrn::CString text(vrn_format_guid_string(vrn::load_le<std::uint64_t>(data)));
    return text ? json_value_init_string(text.get()) : nullptr;
}

bool is_text(const vrn_type_definition_t *type) {
    return type->builtin_id == VRN_BUILTIN_CHAR || type->builtin_id == VRN_BUILTIN_UCHAR;
}

// The printable characters before the first one that isn't; a NUL ends the text like any other.
JSON_Value *text_to_json(const vrn_type_field_definition_t *field, const void *data) {
    const vrn::CString text(static_cast<char *>(std::malloc(field->array_length + 1U)));
    std::size_t length = 0;
    if (text) {
        const std::uint8_t *bytes = bytes_at(data, 0);
        for (; length < field->array_length && std::isprint(bytes[length]); ++length)
            text.get()[length] = static_cast<char>(bytes[length]);
        text.get()[length] = '\0';
    }
    JSON_Value *value = text ? json_value_init_string(text.get()) : nullptr;
    if (!value)
        VRN_LOG(VRN_LOG_ERROR, "Failed to serialize field %s of type %s[%u] as string",
                field->field_name, field->type_name, field->array_length);
    return value;
}

// Null when the text or its JSON string can't be made; the field then takes the normal route.
JSON_Value *guid_word_to_json(const vrn_type_field_definition_t *field, const void *data) {
    const vrn::CString text(vrn_format_guid_string(vrn::load_le<std::uint64_t>(data)));
    if (!text) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to convert field %s to a hex string", field->field_name);
        return nullptr;
    }
    JSON_Value *value = json_value_init_string(text.get());
    if (!value)
        VRN_LOG(VRN_LOG_ERROR, "Failed to serialize field %s to a hex string", field->field_name);
    return value;
}

JSON_Value *record_field_to_json(const vrn_type_field_definition_t *field, const void *data) {
    // Never resolved: then nobody checked the offset either.
    if (!field->type) return nullptr;
    if (guid_switch.is_on() && vrn_name_is_guid_word(field->field_name))
        if (JSON_Value *value = guid_word_to_json(field, data)) return value;
    return vrn_event_field_value_to_json(field, data);
}

}  // namespace

JSON_Value *vrn_event_to_json(const vrn_type_definition_t *type, const void *record) {
    JsonPtr object(json_value_init_object());
    if (!object) return nullptr;
    for (std::uint16_t i = 0; i < type->num_fields; ++i) {
        const vrn_type_field_definition_t *field = type->fields[i];
        JsonPtr value(record_field_to_json(field, bytes_at(record, field->offset)));
        if (!value) return nullptr;
        if (json_object_set_value(json_object(object.get()), field->field_name, value.get()) !=
            JSONSuccess)
            return nullptr;
        value.release();  // to the object
    }
    return object.release();
}

JSON_Value *vrn_event_field_value_to_json(const vrn_type_field_definition_t *field,
                                          const void *data) {
    if (!field->type) return nullptr;  // never resolved
    if (field->array_length == 1) return vrn_event_field_element_to_json(field, data);
    if (is_text(field->type)) return text_to_json(field, data);
    return vrn_event_field_array_to_json(field, data);
}

JSON_Value *vrn_event_field_element_to_json(const vrn_type_field_definition_t *field,
                                            const void *data) {
    if (!field->type) return nullptr;
    if (field->type->builtin_id != 0)
        return vrn_scalar_to_json(field->type->builtin_id, data, field->field_name);
    return vrn_event_to_json(field->type, data);
}

JSON_Value *vrn_event_field_array_to_json(const vrn_type_field_definition_t *field,
                                          const void *data) {
    JsonPtr array(json_value_init_array());
    if (!array) return nullptr;
    for (std::uint64_t i = 0; i < field->array_length; ++i) {
        JsonPtr element(
            vrn_event_field_element_to_json(field, bytes_at(data, i * field->type_size)));
        if (!element) return nullptr;
        if (json_array_append_value(json_array(array.get()), element.get()) != JSONSuccess)
            return nullptr;
        element.release();  // to the array
    }
    return array.release();
}

JSON_Value *vrn_scalar_to_json(std::uint32_t builtin_id, const void *data, const char *field_name) {
    switch (builtin_id) {
        case VRN_BUILTIN_BOOL:
        case VRN_BUILTIN_CHAR:
        case VRN_BUILTIN_UCHAR:
        case VRN_BUILTIN_UINT8:
            return number_at<std::uint8_t>(data);
        case VRN_BUILTIN_INT8:
            return number_at<std::int8_t>(data);
        case VRN_BUILTIN_SHORT:
        case VRN_BUILTIN_INT16:
            return number_at<std::int16_t>(data);
        case VRN_BUILTIN_USHORT:
        case VRN_BUILTIN_UINT16:
            return number_at<std::uint16_t>(data);
        case VRN_BUILTIN_INT:
        case VRN_BUILTIN_INT32:
            return number_at<std::int32_t>(data);
        case VRN_BUILTIN_UINT:
        case VRN_BUILTIN_UINT32:
            return number_at<std::uint32_t>(data);
        case VRN_BUILTIN_LONG:
        case VRN_BUILTIN_LONGLONG:
            return number_at<std::int64_t>(data);
        case VRN_BUILTIN_INT64:
            if (vrn_name_contains_guid(field_name)) return hex_at(data);
            return number_at<std::int64_t>(data);
        case VRN_BUILTIN_ULONG:
        case VRN_BUILTIN_ULONGLONG:
        case VRN_BUILTIN_UINT64:
            if (vrn_name_contains_guid(field_name)) return hex_at(data);
            return number_at<std::uint64_t>(data);
        case VRN_BUILTIN_FLOAT:
            return number_at<float>(data);
        case VRN_BUILTIN_DOUBLE:
            return number_at<double>(data);
        case VRN_BUILTIN_TIMESTAMP:
            return number_at<std::uint64_t>(data);
        default:
            return nullptr;
    }
}
