#include "data/serial/influx_event.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "data/schema/builtin_types.h"
#include "data/serial/event_value.h"
#include "data/serial/influx_text.h"
#include "data/text/printable.h"

namespace vrn::data {

namespace {

bool is_character(const vrn_type_definition_t &type) {
    return type.builtin_id == VRN_BUILTIN_CHAR || type.builtin_id == VRN_BUILTIN_UCHAR;
}

// Walks the fields of a type and its inner types; keys grow with the depth.
class FieldWriter {
  public:
    FieldWriter(TextBuffer &text, std::uint64_t max_size)
        : text_(text), start_(text.size()), max_size_(max_size) {}

    void add_fields(const vrn_type_definition_t &type, const std::uint8_t *data) {
        for (std::uint16_t i = 0; i < type.num_fields; ++i) {
            const vrn_type_field_definition_t &field = *type.fields[i];
            if (field.type) add_field(field, data + field.offset);
        }
    }

    // A value, see walk_value().
    template <typename T>
    bool number(T value) {
        if constexpr (std::is_integral_v<T>)
            influx_write_integer(&text_, value);
        else
            text_.fixed(value);
        return true;
    }
    // No walk without GUID names asks for it.
    bool hex(std::uint64_t value) { return number(value); }

  private:
    void add_field(const vrn_type_field_definition_t &field, const std::uint8_t *data) {
        const vrn_type_definition_t &type = *field.type;
        if (field.array_length != 1)
            return is_character(type) ? add_string(field, data) : add_array(field, data);
        if (type.builtin_id == VRN_BUILTIN_NONE) return add_structure(field, data);
        // An unknown id leaves "key=" without a value.
        add_key(field.field_name);
        add_scalar(field, data);
    }

    void add_key(std::string_view name) {
        if (text_.size() - start_ > max_size_)
            throw std::length_error("the fields of an event take too much memory");
        char *out = text_.reserve(prefix_.size() + name.size() + 3);
        if (text_.size() > start_) *out++ = ',';
        if (!prefix_.empty()) {
            out = std::copy(prefix_.begin(), prefix_.end(), out);
            *out++ = '.';
        }
        std::memcpy(out, name.data(), name.size());
        out += name.size();
        *out++ = '=';
        text_.advance_to(out);
    }

    void add_string(const vrn_type_field_definition_t &field, const std::uint8_t *data) {
        add_key(field.field_name);
        // Deliberate: quotes within the text aren't escaped.
        text_.append('"');
        text_.append(
            {reinterpret_cast<const char *>(data), printable_length(data, field.array_length)});
        text_.append('"');
    }

    void add_structure(const vrn_type_field_definition_t &field, const std::uint8_t *data) {
        const std::size_t outer_size = prefix_.size();
        if (outer_size > 0) prefix_ += '.';
        prefix_ += field.field_name;
        add_fields(*field.type, data);
        prefix_.resize(outer_size);
    }

    // Built-in elements have no fields, so that numeric arrays give nothing.
    void add_array(const vrn_type_field_definition_t &field, const std::uint8_t *data) {
        if (field.type->num_fields == 0) return;
        const std::size_t outer_size = prefix_.size();
        // Deliberate: no point stands between the prefix and the name of an array.
        const std::size_t base_size = prefix_.append(field.field_name).size();
        for (std::uint64_t i = 0; i < field.array_length; ++i) {
            prefix_.append(1, '.').append(std::to_string(i));
            add_fields(*field.type, data + i * field.type_size);
            prefix_.resize(base_size);
        }
        prefix_.resize(outer_size);
    }

    // Nothing for an id outside the table. Names that tell of GUIDs mean nothing here.
    void add_scalar(const vrn_type_field_definition_t &field, const std::uint8_t *data) {
        const std::uint32_t id = field.type->builtin_id;
        if (id == VRN_BUILTIN_BOOL) return text_.append((*data & 1) != 0 ? "true" : "false");
        walk_value(vrn_builtin_value_form(id, false), field.spare_bits, data, *this);
    }

    TextBuffer &text_;
    std::size_t start_;       // of the list
    std::uint64_t max_size_;  // that ends it
    std::string prefix_;      // of the keys, without the point after it
};

}  // namespace

bool influx_write_event_fields(const vrn_type_definition_t *type, const void *record,
                               std::uint64_t max_size, TextBuffer *text) {
    const std::size_t start = text->size();
    try {
        FieldWriter(*text, max_size).add_fields(*type, static_cast<const std::uint8_t *>(record));
        return true;
    } catch (const std::length_error &) {
        text->cut(start);
        return false;
    }
}

bool influx_write_event_line(std::string_view start, const vrn_type_definition_t *type,
                             const void *record, std::uint64_t timestamp, std::uint64_t max_size,
                             TextBuffer *text) {
    text->append(start);
    text->append(' ');
    if (!influx_write_event_fields(type, record, max_size, text)) return false;
    influx_write_time(text, timestamp);
    return true;
}

}  // namespace vrn::data

bool vrn_influx_write_event(const vrn_type_definition_t *type, const void *record,
                            vrn::TextBuffer *text) {
    return vrn::data::influx_write_event_fields(type, record,
                                                vrn::data::influx_text_limit(type->size), text);
}
