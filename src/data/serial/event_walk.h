// The walk over one event record, for sinks that make JSON values or JSON text of it. A Sink has
//   bool begin_object(const vrn_type_definition_t &), bool end_object(),
//   void begin_array(), bool end_array(),
//   void key(const vrn_type_field_definition_t &) before the value of a member,
//   void element() before the value of an array's element,
//   bool number(T) of any arithmetic type, bool hex(std::uint64_t), bool string(std::string_view),
//   bool guid_word(const vrn_type_field_definition_t &, std::uint64_t),
//   std::uint64_t load_word(const void *data, unsigned spare_bits), which holds an integer below
//   its spare bits.
// False from any but guid_word() ends the walk: the record can't be expressed.
#pragma once

#include <cstdint>
#include <string_view>

#include "data/schema/builtin_types.h"
#include "data/schema/type_definition.h"
#include "data/text/printable.h"
#include "utils/byte_reader.h"
#include "utils/log.h"

namespace vrn {

// For sinks of records without slack: reads the bytes of an integer alone. By fixed sizes, since a
// copy of a size found at run time costs a call.
inline std::uint64_t load_word_exactly(const void *data, unsigned spare_bits) {
    switch (spare_bits) {
        case 0:
            return load_le<std::uint64_t>(data);
        case 32:
            return load_le<std::uint32_t>(data);
        case 48:
            return load_le<std::uint16_t>(data);
        default:
            return load_le<std::uint8_t>(data);
    }
}

// One built-in value of the given form. Integers are cut from a word, whatever their width: of its
// bits `spare_bits` lie above the value. Tests in the order of what records are full of.
template <typename Sink>
bool walk_value(vrn_value_form_t form, unsigned spare_bits, const void *data, Sink &sink) {
    if (form == VRN_VALUE_UNSIGNED)
        return sink.number(sink.load_word(data, spare_bits) << spare_bits >> spare_bits);
    if (form == VRN_VALUE_DOUBLE) return sink.number(load_le<double>(data));
    if (form == VRN_VALUE_FLOAT) return sink.number(static_cast<double>(load_le<float>(data)));
    if (form == VRN_VALUE_HEX) return sink.hex(load_le<std::uint64_t>(data));
    if (form != VRN_VALUE_SIGNED) return false;
    const auto shifted = static_cast<std::int64_t>(sink.load_word(data, spare_bits) << spare_bits);
    return sink.number(shifted >> spare_bits);
}

// Walks records for one sink. `convert_guids` is the state of the GUID switch.
template <typename Sink>
class EventWalk {
  public:
    EventWalk(Sink &sink, bool convert_guids) : sink_(sink), convert_guids_(convert_guids) {}

    [[nodiscard]] bool record(const vrn_type_definition_t &type, const void *record) {
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

    [[nodiscard]] bool element(const vrn_type_field_definition_t &field, const void *data) {
        if (field.form == VRN_VALUE_RECORD) return record(*field.type, data);
        return walk_value(field.form, field.spare_bits, data, sink_);
    }

    [[nodiscard]] bool array(const vrn_type_field_definition_t &field, const void *data) {
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

    static bool is_text(const vrn_type_definition_t &type) {
        return type.builtin_id == VRN_BUILTIN_CHAR || type.builtin_id == VRN_BUILTIN_UCHAR;
    }

    [[nodiscard]] bool member(const vrn_type_field_definition_t &field, const void *data) {
        // Without a type nobody checked the offset.
        if (!field.type || !field.json_name.key) return false;
        sink_.key(field);
        // Whatever the type: 8 bytes are read.
        if (convert_guids_ && field.json_name.is_guid_word &&
            sink_.guid_word(field, load_le<std::uint64_t>(data)))
            return true;
        return value(field, data);
    }

    // The printable characters before the first one that isn't; a NUL ends the text like any other.
    [[nodiscard]] bool text(const vrn_type_field_definition_t &field, const void *data) {
        const std::size_t length = printable_length(at(data, 0), field.array_length);
        if (sink_.string({static_cast<const char *>(data), length})) return true;
        VRN_LOG(VRN_LOG_ERROR, "Failed to serialize field %s of type %s[%u] as string",
                field.field_name, field.type_name, field.array_length);
        return false;
    }

    Sink &sink_;
    bool convert_guids_;
};

}  // namespace vrn
