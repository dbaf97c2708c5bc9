#include "sql/event_fields.h"

#include <optional>

#include "data/text/guid_name.h"

namespace vrn::sql {
namespace {

// Records may hold records: a small schema can ask for endless columns.
constexpr int max_values = 10'000;

Kind integer_kind(std::uint64_t size, bool is_signed) {
    switch (size) {
        case 1:
            return is_signed ? Kind::int8 : Kind::uint8;
        case 2:
            return is_signed ? Kind::int16 : Kind::uint16;
        case 4:
            return is_signed ? Kind::int32 : Kind::uint32;
        default:
            return is_signed ? Kind::int64 : Kind::uint64;
    }
}

Kind number_kind(const vrn_type_field_definition_t &field) {
    const std::uint32_t id = field.type->builtin_id;
    if (id == VRN_BUILTIN_FLOAT) return Kind::float32;
    if (id == VRN_BUILTIN_DOUBLE) return Kind::float64;
    // A name alone makes a GUID of any integer that has room for one.
    if (field.form == VRN_VALUE_HEX ||
        (field.type->size == sizeof(std::uint64_t) && vrn_name_is_guid_word(field.field_name)))
        return Kind::uint64;
    if (id == VRN_BUILTIN_BOOL) return Kind::boolean;
    if (id == VRN_BUILTIN_TIMESTAMP) return Kind::timestamp;
    return integer_kind(field.type->size, field.form == VRN_VALUE_SIGNED);
}

// Only an array of characters is a text: one character alone is a number.
bool is_text(const vrn_type_field_definition_t &field) {
    const std::uint32_t id = field.type->builtin_id;
    return field.array_length != 1 && (id == VRN_BUILTIN_CHAR || id == VRN_BUILTIN_UCHAR);
}

class FieldMaker {
  public:
    std::vector<RecordField> fields_of(const vrn_type_definition_t &type) {
        std::vector<RecordField> fields;
        // For each record anew: only the members of one structure must differ.
        NewNames names;
        for (std::uint16_t i = 0; i < type.num_fields; ++i) {
            const vrn_type_field_definition_t &from = *type.fields[i];
            // A field whose type no schema has leaves a gap in the record: the next has its own
            // offset.
            if (!from.type || !from.field_name) continue;
            std::optional<RecordField> field = make(from);
            if (!field) continue;
            field->name = names.add(from.field_name);
            field->offset = from.offset;
            fields.push_back(std::move(*field));
        }
        return fields;
    }

  private:
    std::optional<RecordField> make(const vrn_type_field_definition_t &field) {
        // Counted on the way down, so that a hostile schema is refused before its tree grows beyond
        // the bound.
        if (++values_ > max_values)
            throw QueryError("a record of more than " + std::to_string(max_values) +
                             " values makes no table");
        if (is_text(field)) return RecordField{"", Kind::text, 0, field.array_length};
        std::optional<RecordField> element = make_element(field);
        if (!element || field.array_length == 1) return element;
        return RecordField{"", Kind::array, 0, field.type_size, field.array_length, {*element}};
    }

    // None for a record without fields: it takes no bytes and has nothing to show.
    std::optional<RecordField> make_element(const vrn_type_field_definition_t &field) {
        RecordField element = {"element", Kind::structure, 0, field.type_size};
        if (field.form != VRN_VALUE_RECORD) {
            element.kind = number_kind(field);
            return element;
        }
        element.parts = fields_of(*field.type);
        // The engine has no structures without members either.
        return element.parts.empty() ? std::nullopt : std::optional(element);
    }

    // Over all records within the record.
    int values_ = 0;
};

}  // namespace

std::vector<RecordField> event_fields(const vrn_type_definition_t &type) {
    return FieldMaker().fields_of(type);
}

}  // namespace vrn::sql
