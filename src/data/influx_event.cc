// Event records as field lists.
#include <cctype>
#include <cstring>

#include "data/influx_serializer.h"
#include "data/influx_text.h"
#include "data/schema/builtin_types.h"

namespace vrn::data {

namespace {

// Built-in value as text; empty for an id outside the table.
std::string scalar_text(std::uint32_t builtin_id, const std::uint8_t *data) {
    switch (builtin_id) {
        case VRN_BUILTIN_BOOL:
            return (*data & 1) != 0 ? "true" : "false";
        case VRN_BUILTIN_CHAR:
        case VRN_BUILTIN_UCHAR:
        case VRN_BUILTIN_UINT8:
            return influx_integer(*data);
        case VRN_BUILTIN_INT8:
            return influx_integer(load_le<std::int8_t>(data));
        case VRN_BUILTIN_SHORT:
        case VRN_BUILTIN_INT16:
            return influx_integer(load_le<std::int16_t>(data));
        case VRN_BUILTIN_USHORT:
        case VRN_BUILTIN_UINT16:
            return influx_integer(load_le<std::uint16_t>(data));
        case VRN_BUILTIN_INT:
        case VRN_BUILTIN_INT32:
            return influx_integer(load_le<std::int32_t>(data));
        case VRN_BUILTIN_UINT:
        case VRN_BUILTIN_UINT32:
            return influx_integer(load_le<std::uint32_t>(data));
        case VRN_BUILTIN_LONG:
        case VRN_BUILTIN_LONGLONG:
        case VRN_BUILTIN_INT64:
            return influx_integer(load_le<std::int64_t>(data));
        case VRN_BUILTIN_ULONG:
        case VRN_BUILTIN_ULONGLONG:
        case VRN_BUILTIN_UINT64:
        case VRN_BUILTIN_TIMESTAMP:
            return influx_integer(load_le<std::uint64_t>(data));
        case VRN_BUILTIN_FLOAT:
            return std::to_string(load_le<float>(data));
        case VRN_BUILTIN_DOUBLE:
            return std::to_string(load_le<double>(data));
        default:
            return {};
    }
}

// The printable characters before the first one that isn't.
std::string_view printable_text(const std::uint8_t *data, std::size_t length) {
    std::size_t end = 0;
    while (end < length && std::isprint(data[end])) ++end;
    return {reinterpret_cast<const char *>(data), end};
}

bool is_character(const vrn_type_definition_t *type) {
    return type->builtin_id == VRN_BUILTIN_CHAR || type->builtin_id == VRN_BUILTIN_UCHAR;
}

// Walks the fields of a type and its inner types; keys grow with the depth.
class FieldList {
  public:
    void add_fields(const vrn_type_definition_t *type, const std::uint8_t *data,
                    const std::string &prefix) {
        for (std::uint16_t i = 0; i < type->num_fields; ++i) {
            const vrn_type_field_definition_t *field = type->fields[i];
            if (field->type) add_field(field, data + field->offset, prefix);
        }
    }

    const std::string &items() const { return items_; }

  private:
    void add_field(const vrn_type_field_definition_t *field, const std::uint8_t *data,
                   const std::string &prefix) {
        const vrn_type_definition_t *type = field->type;
        const std::string key =
            prefix.empty() ? field->field_name : prefix + '.' + field->field_name;
        if (field->array_length != 1 && is_character(type))
            influx_append_item(&items_, key,
                               influx_quoted(printable_text(data, field->array_length)));
        else if (field->array_length != 1)
            // Deliberate: no point stands between the prefix and the name of an array.
            add_array(field, data, prefix + field->field_name);
        else if (type->builtin_id != VRN_BUILTIN_NONE)
            influx_append_item(&items_, key, scalar_text(type->builtin_id, data));
        else
            add_fields(type, data, key);
    }

    // Built-in elements have no fields, so that numeric arrays give nothing.
    void add_array(const vrn_type_field_definition_t *field, const std::uint8_t *data,
                   const std::string &base) {
        if (field->type->num_fields == 0) return;
        for (std::uint64_t i = 0; i < field->array_length; ++i)
            add_fields(field->type, data + i * field->type_size, base + '.' + std::to_string(i));
    }

    std::string items_;
};

}  // namespace

std::string InfluxSerializer::event_fields(const vrn_type_definition_t *type,
                                           const void *record) const {
    FieldList list;
    list.add_fields(type, static_cast<const std::uint8_t *>(record), "");
    return list.items();
}

std::string InfluxSerializer::event_line(const Tags &tags, const vrn_type_definition_t *type,
                                         const void *record, std::uint64_t timestamp) const {
    return line_start(type->name, tags) + ' ' + event_fields(type, record) + influx_time(timestamp);
}

}  // namespace vrn::data

char *vrn_influx_serialize_event(const vrn_type_definition_t *type, const void *record) {
    return strdup(vrn::data::InfluxSerializer().event_fields(type, record).c_str());
}
