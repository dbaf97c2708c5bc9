// The walk over one event record, for sinks that make JSON values or JSON text of it. A Sink has
//   bool begin_object(const vrn_type_definition_t &), bool end_object(),
//   void begin_array(), bool end_array(),
//   void key(const vrn_type_field_definition_t &) before the value of a member,
//   void element() before the value of an array's element,
//   bool number(T) of any arithmetic type, bool hex(std::uint64_t), bool string(std::string_view),
//   bool guid_word(const vrn_type_field_definition_t &, std::uint64_t).
// False from any but guid_word() ends the walk: the record can't be expressed.
#pragma once

#include <cctype>
#include <cstdint>
#include <string_view>

#include "data/schema/builtin_types.h"
#include "data/schema/type_definition.h"
#include "utils/byte_reader.h"
#include "utils/log.h"

namespace vrn {

// One built-in value; false also for an id outside the table.
template <typename Sink>
bool walk_scalar(std::uint32_t builtin_id, const void *data, bool contains_guid, Sink &sink) {
    switch (builtin_id) {
        case VRN_BUILTIN_BOOL:
        case VRN_BUILTIN_CHAR:
        case VRN_BUILTIN_UCHAR:
        case VRN_BUILTIN_UINT8:
            return sink.number(load_le<std::uint8_t>(data));
        case VRN_BUILTIN_INT8:
            return sink.number(load_le<std::int8_t>(data));
        case VRN_BUILTIN_SHORT:
        case VRN_BUILTIN_INT16:
            return sink.number(load_le<std::int16_t>(data));
        case VRN_BUILTIN_USHORT:
        case VRN_BUILTIN_UINT16:
            return sink.number(load_le<std::uint16_t>(data));
        case VRN_BUILTIN_INT:
        case VRN_BUILTIN_INT32:
            return sink.number(load_le<std::int32_t>(data));
        case VRN_BUILTIN_UINT:
        case VRN_BUILTIN_UINT32:
            return sink.number(load_le<std::uint32_t>(data));
        case VRN_BUILTIN_LONG:
        case VRN_BUILTIN_LONGLONG:
            return sink.number(load_le<std::int64_t>(data));
        case VRN_BUILTIN_INT64:
            if (contains_guid) return sink.hex(load_le<std::uint64_t>(data));
            return sink.number(load_le<std::int64_t>(data));
        case VRN_BUILTIN_ULONG:
        case VRN_BUILTIN_ULONGLONG:
        case VRN_BUILTIN_UINT64:
            if (contains_guid) return sink.hex(load_le<std::uint64_t>(data));
            return sink.number(load_le<std::uint64_t>(data));
        case VRN_BUILTIN_FLOAT:
            return sink.number(load_le<float>(data));
        case VRN_BUILTIN_DOUBLE:
            return sink.number(load_le<double>(data));
        case VRN_BUILTIN_TIMESTAMP:
            return sink.number(load_le<std::uint64_t>(data));
        default:
            return false;
    }
}

// Walks records for one sink. `convert_guids` is the state of the GUID switch.
template <typename Sink>
class EventWalk {
  public:
    EventWalk(Sink &sink, bool convert_guids) : sink_(sink), convert_guids_(convert_guids) {}

    bool record(const vrn_type_definition_t &type, const void *record) {
        if (!sink_.begin_object(type)) return false;
        for (std::uint16_t i = 0; i < type.num_fields; ++i) {
            const vrn_type_field_definition_t &field = *type.fields[i];
            if (!member(field, at(record, field.offset))) return false;
        }
        return sink_.end_object();
    }

    bool value(const vrn_type_field_definition_t &field, const void *data) {
        if (field.array_length == 1) return element(field, data);
        if (is_text(*field.type)) return text(field, data);
        return array(field, data);
    }

    bool element(const vrn_type_field_definition_t &field, const void *data) {
        if (field.type->builtin_id == VRN_BUILTIN_NONE) return record(*field.type, data);
        return walk_scalar(field.type->builtin_id, data, contains_guid(field), sink_);
    }

    bool array(const vrn_type_field_definition_t &field, const void *data) {
        sink_.begin_array();
        for (std::uint64_t i = 0; i < field.array_length; ++i) {
            sink_.element();
            if (!element(field, at(data, i * field.type_size))) return false;
        }
        return sink_.end_array();
    }

  private:
    static const std::uint8_t *at(const void *data, std::uint64_t offset) {
        return static_cast<const std::uint8_t *>(data) + offset;
    }

    static bool contains_guid(const vrn_type_field_definition_t &field) {
        return field.json_name && field.json_name->contains_guid;
    }

    static bool is_text(const vrn_type_definition_t &type) {
        return type.builtin_id == VRN_BUILTIN_CHAR || type.builtin_id == VRN_BUILTIN_UCHAR;
    }

    // As std::isprint, of which the ASCII part is the same in all locales.
    static bool is_printable(std::uint8_t byte) {
        return byte < 0x80 ? byte - 0x20U < 0x7fU - 0x20U : std::isprint(byte) != 0;
    }

    bool member(const vrn_type_field_definition_t &field, const void *data) {
        // Never resolved: then nobody checked the offset either.
        if (!field.type || !field.json_name) return false;
        sink_.key(field);
        // Whatever the type: 8 bytes are read.
        if (convert_guids_ && field.json_name->is_guid_word &&
            sink_.guid_word(field, load_le<std::uint64_t>(data)))
            return true;
        return value(field, data);
    }

    // The printable characters before the first one that isn't; a NUL ends the text like any other.
    bool text(const vrn_type_field_definition_t &field, const void *data) {
        const std::uint8_t *bytes = at(data, 0);
        std::size_t length = 0;
        while (length < field.array_length && is_printable(bytes[length])) ++length;
        if (sink_.string({reinterpret_cast<const char *>(bytes), length})) return true;
        VRN_LOG(VRN_LOG_ERROR, "Failed to serialize field %s of type %s[%u] as string",
                field.field_name, field.type_name, field.array_length);
        return false;
    }

    Sink &sink_;
    bool convert_guids_;
};

}  // namespace vrn
