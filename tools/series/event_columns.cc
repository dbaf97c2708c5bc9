#include "series/event_columns.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <span>

#include "data/schema/builtin_types.h"
#include "data/selection/name_tables.h"
#include "data/serial/event_value.h"
#include "data/text/value_text.h"
#include "utils/byte_reader.h"

namespace vrn::series {
namespace {

// What walk_value() hands over, as raw bits.
struct BitsSink {
    std::uint64_t bits = 0;

    bool number(std::uint64_t value) { return set(value); }
    bool number(std::int64_t value) { return set(static_cast<std::uint64_t>(value)); }
    bool number(double value) { return set(std::bit_cast<std::uint64_t>(value)); }
    bool hex(std::uint64_t value) { return set(value); }

  private:
    bool set(std::uint64_t value) {
        bits = value;
        return true;
    }
};

bool is_text(const vrn_type_field_definition_t &field) {
    return field.array_length != 1 && (field.type->builtin_id == VRN_BUILTIN_CHAR ||
                                       field.type->builtin_id == VRN_BUILTIN_UCHAR);
}

std::string text_of_number(const FieldPlace &place, std::uint64_t bits) {
    char text[VALUE_TEXT_ROOM];
    const auto shown = [&](const char *end) {
        return std::string(text, static_cast<std::size_t>(end - text));
    };
    switch (place.form) {
        case VRN_VALUE_SIGNED:
            return std::to_string(std::bit_cast<std::int64_t>(bits));
        case VRN_VALUE_FLOAT:
        case VRN_VALUE_DOUBLE:
            return shown(std::to_chars(text, std::end(text), std::bit_cast<double>(bits)).ptr);
        case VRN_VALUE_HEX:
            return shown(write_guid_value(text, bits));
        default:
            return std::to_string(bits);
    }
}

class ColumnSearch {
  public:
    ColumnSearch(const vrn_type_definition_t &type, const std::vector<std::string> &label_fields,
                 const std::function<bool(const std::string &name)> &takes)
        : type_name_(type.name), label_fields_(label_fields), takes_(takes) {}

    EventColumns run(const vrn_type_definition_t &type) {
        // Of the row itself; a time within a record tells of the record.
        for (const auto *field : fields_of(type)) {
            if (found_.time_offset || !field->type || field->array_length != 1) continue;
            if (field->type->builtin_id == VRN_BUILTIN_TIMESTAMP)
                found_.time_offset = field->offset;
        }
        add_record(type, 0, "");
        return std::move(found_);
    }

  private:
    static std::span<vrn_type_field_definition_t *const> fields_of(
        const vrn_type_definition_t &type) {
        return {type.fields, type.num_fields};
    }

    void add_record(const vrn_type_definition_t &type, std::uint64_t offset,
                    const std::string &prefix) {
        for (const auto *field : fields_of(type)) {
            // Without a type nobody checked the offset; without a size there may be any number.
            if (!field->type || !field->field_name || field->type->size == 0) continue;
            add_field(*field, offset + field->offset, prefix + field->field_name);
            if (!found_.is_whole) return;
        }
    }

    void add_field(const vrn_type_field_definition_t &field, std::uint64_t offset,
                   const std::string &path) {
        if (is_text(field)) return add_text(field, offset, path);
        if (field.array_length == 1) return add_element(field, offset, path);
        for (std::uint64_t i = 0; i < field.array_length && found_.is_whole; ++i)
            add_element(field, offset + i * field.type->size, path + "." + std::to_string(i));
    }

    void add_element(const vrn_type_field_definition_t &field, std::uint64_t offset,
                     const std::string &path) {
        if (field.form == VRN_VALUE_RECORD) return add_record(*field.type, offset, path + ".");
        if (field.form == VRN_VALUE_NONE || offset == found_.time_offset) return;
        const FieldPlace place = {offset, field.form, field.spare_bits};
        if (is_label(path)) return found_.labels.push_back({path, place, 0});
        const std::string name = type_name_ + "." + path;
        if (!takes_(name)) return;
        // Schemas come from files: one that describes millions of numbers ends here.
        found_.is_whole = found_.columns.size() < EventColumns::max_columns;
        if (found_.is_whole)
            found_.columns.push_back(
                {name, place, field.counting_mode == VRN_COUNTING_RUNNING_SUM});
    }

    void add_text(const vrn_type_field_definition_t &field, std::uint64_t offset,
                  const std::string &path) {
        if (is_label(path))
            found_.labels.push_back(
                {path, {offset, field.form, field.spare_bits}, field.array_length});
    }

    bool is_label(const std::string &path) const {
        return std::ranges::find(label_fields_, path) != label_fields_.end();
    }

    std::string type_name_;
    const std::vector<std::string> &label_fields_;
    const std::function<bool(const std::string &name)> &takes_;
    EventColumns found_;
};

}  // namespace

metrics::ValueType EventColumn::value_type() const {
    switch (place.form) {
        case VRN_VALUE_SIGNED:
            return metrics::ValueType::int64;
        case VRN_VALUE_FLOAT:
        case VRN_VALUE_DOUBLE:
            return metrics::ValueType::float64;
        case VRN_VALUE_HEX:
            return metrics::ValueType::bits64;
        default:
            return metrics::ValueType::uint64;
    }
}

std::string EventLabel::text(const std::uint8_t *row) const {
    if (text_size == 0) return text_of_number(place, number_bits(place, row));
    const auto *first = reinterpret_cast<const char *>(row + place.offset);
    // A text that fills its field has no terminator.
    return {first, strnlen(first, text_size)};
}

std::uint64_t number_bits(const FieldPlace &place, const std::uint8_t *row) {
    BitsSink sink;
    walk_value(place.form, place.spare_bits, row + place.offset, sink);
    return sink.bits;
}

EventColumns find_event_columns(const vrn_type_definition_t &type,
                                const std::vector<std::string> &label_fields,
                                const std::function<bool(const std::string &name)> &takes) {
    return ColumnSearch(type, label_fields, takes).run(type);
}

}  // namespace vrn::series
