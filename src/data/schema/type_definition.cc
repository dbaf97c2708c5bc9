#include "data/schema/type_definition.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "utils/strings.h"

namespace {

vrn_value_form_t form_of(const vrn_type_field_definition_t &field) {
    if (!field.type) return VRN_VALUE_NONE;
    if (field.type->builtin_id == VRN_BUILTIN_NONE) return VRN_VALUE_RECORD;
    return vrn_builtin_value_form(field.type->builtin_id, field.json_name.contains_guid);
}

}  // namespace

vrn_type_field_definition_t *vrn_field_definition_create(const vrn_type_field_info_t *info) {
    vrn_field_definition_ptr field(static_cast<vrn_type_field_definition_t *>(
        std::calloc(1, sizeof(vrn_type_field_definition_t))));
    if (!field) return nullptr;
    // The destroy call of the owner frees what was copied before one of them fails.
    if (!vrn_copy_text(info->name, &field->field_name) ||
        !vrn_copy_text(info->description, &field->description) ||
        !vrn_copy_text(info->type_name, &field->type_name))
        return nullptr;
    if (info->name && !vrn_json_name_init(&field->json_name, info->name)) return nullptr;
    field->counting_mode = info->counting_mode;
    field->array_length = info->array_length;
    return field.release();  // to the caller
}

void vrn_field_definition_destroy(vrn_type_field_definition_t *field) {
    if (!field) return;
    vrn_json_name_clear(&field->json_name);
    std::free(field->field_name);
    std::free(field->description);
    std::free(field->type_name);
    std::free(field);
}

void vrn_field_definition_bind(vrn_type_field_definition_t *field,
                               const vrn_type_definition_t *type) {
    field->type = type;
    // Found once, since rows ask for it with each value.
    field->form = form_of(*field);
    field->spare_bits = vrn_builtin_spare_bits(type ? type->builtin_id : VRN_BUILTIN_NONE);
}

vrn_type_definition_t *vrn_type_definition_create(const char *name) {
    vrn_type_definition_ptr type(
        static_cast<vrn_type_definition_t *>(std::calloc(1, sizeof(vrn_type_definition_t))));
    if (!type || !vrn_copy_text(name, &type->name)) return nullptr;
    return type.release();  // to the caller
}

bool vrn_type_definition_reserve(vrn_type_definition_t *type, std::uint16_t max_fields) {
    // One place at least, so that null means out of memory for an empty array as well.
    type->fields = static_cast<vrn_type_field_definition_t **>(
        std::calloc(std::max<std::size_t>(max_fields, 1), sizeof(void *)));
    return type->fields != nullptr;
}

vrn_type_field_definition_t *vrn_type_definition_append(vrn_type_definition_t *type,
                                                        vrn_field_definition_ptr field) {
    return type->fields[type->num_fields++] = field.release();  // to the type
}

void vrn_type_definition_destroy(vrn_type_definition_t *type) {
    if (!type) return;
    for (std::uint16_t i = 0; i < type->num_fields; ++i)
        vrn_field_definition_destroy(type->fields[i]);
    std::free(type->fields);
    std::free(type->name);
    std::free(type);
}
