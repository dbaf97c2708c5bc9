#include "data/schema/type_json.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "data/selection/name_tables.h"
#include "data/text/json_document.h"
#include "data/text/json_value.h"
#include "utils/log.h"

namespace {

constexpr char type_template[] = R"({"name" : "", "size" : 0, "fields" : []})";
constexpr char indexed_field_template[] =
    R"({"field_name" : "", "description" : "", "type_size" : 0, "offset" : 0, "type_name" : "", )"
    R"("counting_mode" : "", "index" : 0})";
// Documents written before fields had an index.
constexpr char field_template[] =
    R"({"field_name" : "", "description" : "", "type_size" : 0, "offset" : 0, "type_name" : "", )"
    R"("counting_mode" : ""})";

// The order of the calls is the order of the keys, and so part of a schema's id.
bool write_field(JSON_Object *object, const vrn_type_field_definition_t &field) {
    // Null for a mode that was unknown when it was read, which fails the whole document.
    const char *mode = vrn_value_to_name(vrn_counting_mode_names, field.counting_mode);
    return vrn_json_set_text(object, "field_name", field.field_name) &&
           vrn_json_set_text(object, "description", field.description) &&
           vrn_json_set_text(object, "type_name", field.type_name) &&
           vrn_json_set_text(object, "counting_mode", mode) &&
           (field.array_length <= 1 ||
            vrn_json_set_number(object, "array_length", field.array_length)) &&
           vrn_json_set_number(object, "offset", field.offset) &&
           vrn_json_set_number(object, "type_size", field.type_size) &&
           vrn_json_set_number(object, "index", field.index);
}

bool write_type(JSON_Object *object, const vrn_type_definition_t &type) {
    if (!vrn_json_set_text(object, "name", type.name) ||
        !vrn_json_set_number(object, "size", type.size))
        return false;
    JSON_Array *fields = vrn_json_add_array(object, "fields");
    if (!fields) return false;
    for (std::uint16_t i = 0; i < type.num_fields; ++i) {
        vrn_json_value_ptr field(vrn_field_definition_to_json(type.fields[i]));
        if (!vrn_json_append(fields, std::move(field))) return false;
    }
    return true;
}

bool matches_field_templates(const JSON_Value *value) {
    const vrn_json_value_ptr indexed = vrn_json_template_parse(indexed_field_template);
    if (!indexed) return false;
    // The form with "index" first: an index of another JSON type then still passes the older form,
    // and reads as 0. Deliberate.
    if (json_validate(indexed.get(), value) == JSONSuccess) return true;
    const vrn_json_value_ptr plain(json_parse_string(field_template));
    if (!plain) {
        VRN_LOG(VRN_LOG_ERROR, "Unable to parse schema to JSON value (without index): '%s'",
                field_template);
        return false;
    }
    if (json_validate(plain.get(), value) == JSONSuccess) return true;
    VRN_LOG(VRN_LOG_ERROR, "Field definition JSON does not match schema with or without 'index'.");
    return false;
}

bool matches_type_template(const JSON_Value *value) {
    const vrn_json_value_ptr expected = vrn_json_template_parse(type_template);
    if (!expected) return false;
    if (json_validate(expected.get(), value) == JSONSuccess) return true;
    VRN_LOG(VRN_LOG_ERROR, "Type definition JSON does not match schema '%s'", type_template);
    return false;
}

bool read_u64(const JSON_Object *object, const char *key, std::uint64_t *out) {
    return vrn_json_number_to_uint(object, key, std::numeric_limits<std::uint64_t>::max(), out);
}

bool read_u16(const JSON_Object *object, const char *key, std::uint16_t *out) {
    std::uint64_t number = 0;
    if (!vrn_json_number_to_uint(object, key, std::numeric_limits<std::uint16_t>::max(), &number))
        return false;
    *out = static_cast<std::uint16_t>(number);
    return true;
}

// Reads and appends all chosen fields; `type` is named and empty.
bool read_fields(const JSON_Array *fields, const vrn_provider_field_set_t *field_set,
                 vrn_type_definition_t *type) {
    const std::size_t count = json_array_get_count(fields);
    // Checked before room is made: the count comes from the document.
    if (count > std::numeric_limits<std::uint16_t>::max()) {
        VRN_LOG(VRN_LOG_ERROR, "Type '%s' has too many fields: %zu", type->name, count);
        return false;
    }
    if (!vrn_type_definition_reserve(type, static_cast<std::uint16_t>(count))) return false;
    for (std::size_t i = 0; i < count; ++i) {
        vrn_field_definition_ptr field(
            vrn_field_definition_from_json(json_array_get_value(fields, i)));
        if (!field) return false;
        if (field_set && !vrn_provider_field_set_should_include_field(field_set, type->name,
                                                                      field->field_name)) {
            VRN_LOG(VRN_LOG_DEBUG,
                    "Skipping field '%s.%s' as it is not required by the provided field set",
                    type->name, field->field_name);
            continue;
        }
        // A field that was dropped leaves offsets and size alone: records stay decodable.
        vrn_type_definition_append(type, std::move(field));
    }
    return true;
}

}  // namespace

JSON_Value *vrn_field_definition_to_json(const vrn_type_field_definition_t *field) {
    vrn_json_value_ptr value(json_value_init_object());
    if (!value || !write_field(json_value_get_object(value.get()), *field)) return nullptr;
    return value.release();  // to the caller
}

JSON_Value *vrn_type_definition_to_json(const vrn_type_definition_t *type) {
    vrn_json_value_ptr value(json_value_init_object());
    if (!value || !write_type(json_value_get_object(value.get()), *type)) return nullptr;
    return value.release();  // to the caller
}

vrn_type_field_definition_t *vrn_field_definition_from_json(const JSON_Value *value) {
    if (!matches_field_templates(value)) return nullptr;
    const JSON_Object *object = json_value_get_object(value);
    vrn_type_field_info_t info = {
        .name = json_object_get_string(object, "field_name"),
        .description = json_object_get_string(object, "description"),
        .type_name = json_object_get_string(object, "type_name"),
        .counting_mode =
            vrn_counting_mode_from_name(json_object_get_string(object, "counting_mode")),
        .array_length = 0,
    };
    if (!read_u16(object, "array_length", &info.array_length)) return nullptr;
    // Scalars are written without a length.
    // Written only when above 1, so that 0 is what a scalar reads as.
    if (info.array_length == 0) info.array_length = 1;
    vrn_field_definition_ptr field(vrn_field_definition_create(&info));
    if (!field) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate field definition: %s", std::strerror(errno));
        return nullptr;
    }
    if (!read_u64(object, "type_size", &field->type_size) ||
        !read_u64(object, "offset", &field->offset) || !read_u16(object, "index", &field->index))
        return nullptr;
    return field.release();  // to the caller
}

vrn_type_definition_t *vrn_type_definition_from_json(const JSON_Value *value,
                                                     const vrn_provider_field_set_t *field_set,
                                                     bool *out_parsed) {
    bool ignored = false;
    bool &parsed = out_parsed ? *out_parsed : ignored;
    parsed = false;
    if (!matches_type_template(value)) return nullptr;
    const JSON_Object *object = json_value_get_object(value);
    const char *name = json_object_get_string(object, "name");
    vrn_type_definition_ptr type(vrn_type_definition_create(name));
    if (!type) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate type definition object: %s",
                std::strerror(errno));
        return nullptr;
    }
    if (field_set && !vrn_provider_field_set_is_type_of_interest(field_set, name)) {
        VRN_LOG(VRN_LOG_DEBUG,
                "Skipping type definition '%s' as it is not required by the provided field set",
                name);
        // Tells a type that was dropped from one that failed.
        parsed = true;
        return nullptr;
    }
    // Records of no bytes would never end; deliberately without a line of its own.
    if (!read_u64(object, "size", &type->size) || type->size == 0) return nullptr;
    if (!read_fields(json_object_get_array(object, "fields"), field_set, type.get()))
        return nullptr;
    parsed = true;
    if (type->num_fields == 0) {
        VRN_LOG(VRN_LOG_DEBUG,
                "Skipping type definition '%s' as it has no fields after filtering by field set",
                name);
        return nullptr;
    }
    return type.release();  // to the caller
}

vrn_type_definition_t *vrn_type_definition_from_json(const JSON_Value *value) {
    return vrn_type_definition_from_json(value, nullptr, nullptr);
}
