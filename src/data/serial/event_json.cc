#include "data/serial/event_json.h"

#include <string>
#include <utility>
#include <vector>

#include "data/serial/event_value.h"
#include "data/text/guid_name.h"
#include "data/text/guid_switch.h"
#include "data/text/json_value.h"
#include "data/text/printable.h"
#include "data/text/value_text.h"
#include "utils/byte_reader.h"
#include "utils/catch_all.h"
#include "utils/log.h"

namespace {

// Of its own: counters rows have another one, which may have been read at another time.
GuidSwitch guid_switch;

vrn_json_value_ptr hex_value(std::uint64_t number) {
    const vrn::CString text(vrn_format_guid_string(number));
    return vrn_json_value_ptr(text ? json_value_init_string(text.get()) : nullptr);
}

// Puts values together.
class TreeSink {
  public:
    // The value that was walked, once all is closed.
    JSON_Value *release() { return result_.release(); }

    bool begin_object() { return open(vrn_json_value_ptr(json_value_init_object())); }
    bool begin_array() { return open(vrn_json_value_ptr(json_value_init_array())); }
    // Ends the innermost of these.
    bool close() {
        vrn_json_value_ptr value = std::move(open_.back().value);
        open_.pop_back();
        return take(std::move(value));
    }
    void key(const vrn_type_field_definition_t &field) { open_.back().key = field.field_name; }

    template <typename T>
    bool number(T value) {
        return take(vrn_json_value_ptr(json_value_init_number(static_cast<double>(value))));
    }
    bool hex(std::uint64_t value) { return take(hex_value(value)); }
    bool string(std::string_view text) {
        // A copy, since parson reads on to a terminator.
        return take(vrn_json_value_ptr(json_value_init_string(std::string(text).c_str())));
    }
    // Deliberate: the name alone decides, whatever the type of the field. False is no failure of
    // the record: the field takes the normal route.
    bool guid_word(const vrn_type_field_definition_t &field, std::uint64_t value) {
        const vrn::CString text(vrn_format_guid_string(value));
        if (!text) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to convert field %s to a hex string", field.field_name);
            return false;
        }
        vrn_json_value_ptr json(json_value_init_string(text.get()));
        if (!json) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to serialize field %s to a hex string",
                    field.field_name);
            return false;
        }
        return take(std::move(json));
    }

  private:
    // An object or array that is being filled, and the key of the next member.
    struct Open {
        vrn_json_value_ptr value;
        const char *key = nullptr;
    };

    bool open(vrn_json_value_ptr value) {
        open_.push_back({std::move(value)});
        return open_.back().value != nullptr;
    }

    bool take(vrn_json_value_ptr value) {
        if (open_.empty()) {
            result_ = std::move(value);
            return result_ != nullptr;
        }
        const Open &outer = open_.back();
        JSON_Object *object = json_value_get_object(outer.value.get());
        // A name that is there keeps its place and takes the later value.
        if (object) return vrn_json_set(object, outer.key, std::move(value));
        return vrn_json_append(json_value_get_array(outer.value.get()), std::move(value));
    }

    std::vector<Open> open_;
    vrn_json_value_ptr result_;
};

// The walk over one record.
class EventWalk {
  public:
    explicit EventWalk(TreeSink &sink) : sink_(sink) {}

    [[nodiscard]] bool record(const vrn_type_definition_t &type, const void *record) {
        if (!sink_.begin_object()) return false;
        for (std::uint16_t i = 0; i < type.num_fields; ++i) {
            const vrn_type_field_definition_t &field = *type.fields[i];
            if (!member(field, at(record, field.offset))) return false;
        }
        return sink_.close();
    }

    bool value(const vrn_type_field_definition_t &field, const void *data) {
        if (field.array_length == 1) return element(field, data);
        if (is_text(*field.type)) return text(field, data);
        return array(field, data);
    }

    [[nodiscard]] bool element(const vrn_type_field_definition_t &field, const void *data) {
        if (field.form == VRN_VALUE_RECORD) return record(*field.type, data);
        return vrn::walk_value(field.form, field.spare_bits, data, sink_);
    }

    [[nodiscard]] bool array(const vrn_type_field_definition_t &field, const void *data) {
        if (!sink_.begin_array()) return false;
        for (std::uint64_t i = 0; i < field.array_length; ++i) {
            if (!element(field, at(data, i * field.type_size))) return false;
        }
        return sink_.close();
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
            sink_.guid_word(field, vrn::load_le<std::uint64_t>(data)))
            return true;
        return value(field, data);
    }

    // The printable characters before the first one that isn't; a NUL ends the text like any other.
    [[nodiscard]] bool text(const vrn_type_field_definition_t &field, const void *data) {
        const std::size_t length = vrn::printable_length(at(data, 0), field.array_length);
        if (sink_.string({static_cast<const char *>(data), length})) return true;
        VRN_LOG(VRN_LOG_ERROR, "Failed to serialize field %s of type %s[%u] as string",
                field.field_name, field.type_name, field.array_length);
        return false;
    }

    TreeSink &sink_;
    const bool convert_guids_ = vrn_event_converts_guids();
};

// What `make` makes in the sink that it is given; null when it fails or memory runs out.
template <typename Make>
JSON_Value *made_value(Make make) {
    TreeSink sink;
    bool is_made = false;
    if (!vrn::catch_all([&] { is_made = make(sink); }) || !is_made) return nullptr;
    return sink.release();
}

// What `walk`, given an EventWalk, makes.
template <typename Walk>
JSON_Value *walked_value(Walk walk) {
    return made_value([&](TreeSink &sink) { return walk(EventWalk(sink)); });
}

}  // namespace

bool vrn_event_converts_guids() {
    return guid_switch.is_on();
}

JSON_Value *vrn_event_to_json(const vrn_type_definition_t *type, const void *record) {
    return walked_value([&](auto walk) { return walk.record(*type, record); });
}

JSON_Value *vrn_event_field_value_to_json(const vrn_type_field_definition_t *field,
                                          const void *data) {
    if (!field->type) return nullptr;  // never resolved
    return walked_value([&](auto walk) { return walk.value(*field, data); });
}

JSON_Value *vrn_event_field_element_to_json(const vrn_type_field_definition_t *field,
                                            const void *data) {
    if (!field->type) return nullptr;
    return walked_value([&](auto walk) { return walk.element(*field, data); });
}

JSON_Value *vrn_event_field_array_to_json(const vrn_type_field_definition_t *field,
                                          const void *data) {
    if (!field->type) return nullptr;
    return walked_value([&](auto walk) { return walk.array(*field, data); });
}

// Deliberate: "guid" anywhere in the name counts here, the word rule and its switch don't.
JSON_Value *vrn_scalar_to_json(std::uint32_t builtin_id, const void *data, const char *field_name) {
    const auto form = vrn_builtin_value_form(builtin_id, vrn_name_contains_guid(field_name));
    return made_value([&](TreeSink &sink) {
        return vrn::walk_value(form, vrn_builtin_spare_bits(builtin_id), data, sink);
    });
}
