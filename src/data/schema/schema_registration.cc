#include "data/schema/schema_registration.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

#include "utils/log.h"

namespace {

using FieldInfos = std::span<const vrn_type_field_info_t>;

bool same_name(const char *a, const char *b) {
    return a && b && std::strcmp(a, b) == 0;
}

// For messages: printf of a null text is undefined.
const char *text_or_null(const char *text) {
    return text ? text : "(null)";
}

bool field_types_known(const vrn_schema_t *schema, const char *type_name, FieldInfos infos) {
    for (const vrn_type_field_info_t &info : infos) {
        if (vrn_schema_find_type(schema, info.type_name)) continue;
        VRN_LOG(VRN_LOG_ERROR,
                "Unable to register type '%s': type '%s' of the field '%s' is undefined", type_name,
                text_or_null(info.type_name), text_or_null(info.name));
        return false;
    }
    return true;
}

// The last field takes no part, deliberately: callers rely on what was always accepted.
const char *find_repeated_name(FieldInfos infos) {
    for (std::size_t i = 1; i + 1 < infos.size(); ++i) {
        for (std::size_t before = 0; before < i; ++before)
            if (same_name(infos[before].name, infos[i].name)) return infos[i].name;
    }
    return nullptr;
}

// Appends one field to a type under construction and grows the type by it.
bool add_field(const vrn_schema_t *schema, vrn_type_definition_t *type,
               const vrn_type_field_info_t &info, int number) {
    // Messages name the public entry and not the step of it.
    constexpr const char *caller = "vrn_schema_add_type";
    vrn_field_definition_ptr created(vrn_field_definition_create(&info));
    if (!created) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] cannot get type definition from fields_info[%d]", caller,
                number);
        return false;
    }
    // Packed: nothing is aligned, so that the writers of records need no layout rules but this one.
    created->offset = type->size;
    vrn_type_field_definition_t *field = vrn_type_definition_append(type, std::move(created));
    vrn_field_definition_bind(field, vrn_schema_find_type(schema, field->type_name));
    if (!field->type) {
        VRN_LOG(VRN_LOG_ERROR,
                "[%s] cannot find type_definition of type_field_definition '%s', number %d", caller,
                text_or_null(field->field_name), number);
        return false;
    }
    // An array of length 0 stays one and takes no room, deliberately.
    field->type_size = field->type->size;
    type->size += field->array_length * field->type_size;
    return true;
}

vrn_type_definition_ptr build_type(const vrn_schema_t *schema, const char *type_name,
                                   FieldInfos infos) {
    constexpr const char *caller = "vrn_schema_add_type";
    vrn_type_definition_ptr type(vrn_type_definition_create(type_name));
    if (!type) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] cannot allocate type definition", caller);
        return nullptr;
    }
    if (!vrn_type_definition_reserve(type.get(), static_cast<std::uint16_t>(infos.size()))) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] cannot allocate fields for type definition", caller);
        return nullptr;
    }
    int number = 0;
    for (const vrn_type_field_info_t &info : infos)
        if (!add_field(schema, type.get(), info, number++)) return nullptr;
    return type;
}

std::span<vrn_type_field_definition_t *const> fields_of(const vrn_type_definition_t *type) {
    return {type->fields, type->num_fields};
}

bool is_indexed(const vrn_type_field_definition_t *field) {
    return field->index != 0;
}

// Number of the last index given.
std::uint16_t number_fields(const vrn_type_definition_t *type,
                            std::span<const char *const> index_names) {
    std::uint16_t assigned = 0;
    for (const char *name : index_names) {
        const auto fields = fields_of(type);
        const auto found = std::ranges::find_if(
            fields, [name](const auto *field) { return same_name(field->field_name, name); });
        // A name that is given twice moves its field to the later number; unknown names take none.
        if (found != fields.end()) (*found)->index = ++assigned;
    }
    return assigned;
}

}  // namespace

vrn_schema_result_t vrn_schema_add_type(vrn_schema_t *schema, const char *type_name,
                                        const vrn_type_field_info_t *fields_info, std::size_t count,
                                        std::uint8_t *out_type_index) {
    const FieldInfos infos(fields_info, count);
    if (schema->num_types >= VRN_MAX_TYPES) {
        VRN_LOG(VRN_LOG_ERROR,
                "[%s] Unable to add new type, reached VRN_MAX_TYPES. schema->num_types = %d",
                __func__, schema->num_types);
        return VRN_SCHEMA_LIMIT_REACHED;
    }
    // Types count their fields in 16 bits.
    if (count > std::numeric_limits<std::uint16_t>::max()) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] Type '%s' has too many fields: %zu", __func__, type_name,
                count);
        return VRN_SCHEMA_LIMIT_REACHED;
    }
    if (vrn_schema_find_type(schema, type_name)) {
        VRN_LOG(VRN_LOG_ERROR, "Schema '%s' already contains type '%s'",
                vrn_schema_provider_text(schema), type_name);
        return VRN_SCHEMA_DUPLICATE;
    }
    if (!field_types_known(schema, type_name, infos)) return VRN_SCHEMA_BAD_ARGUMENT;
    if (const char *repeated = find_repeated_name(infos)) {
        VRN_LOG(VRN_LOG_ERROR,
                "[%s] Failed to register new type '%s': field name '%s' occurs more than once.",
                __func__, type_name, repeated);
        return VRN_SCHEMA_DUPLICATE;
    }
    vrn_type_definition_ptr type = build_type(schema, type_name, infos);
    if (!type) return VRN_SCHEMA_NO_MEMORY;
    if (!vrn_schema_append_type(schema, std::move(type))) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] cannot allocate type definition", __func__);
        return VRN_SCHEMA_NO_MEMORY;
    }
    if (out_type_index) *out_type_index = schema->num_types - 1;
    return VRN_SCHEMA_OK;
}

vrn_schema_result_t vrn_schema_set_field_indexes(vrn_schema_t *schema, std::uint32_t type_index,
                                                 const char *const *index_names,
                                                 std::size_t count) {
    if (!schema) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] Schema pointer is NULL!", __func__);
        return VRN_SCHEMA_BAD_ARGUMENT;
    }
    if (!index_names) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] Index names array is NULL!", __func__);
        return VRN_SCHEMA_BAD_ARGUMENT;
    }
    if (type_index >= schema->num_types) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] Invalid type_index: %u (out of range, max: %u)", __func__,
                type_index, schema->num_types - 1U);
        return VRN_SCHEMA_BAD_ARGUMENT;
    }
    const vrn_type_definition_t *type = schema->types[type_index];
    // Old numbers would otherwise mix with the new ones.
    for (vrn_type_field_definition_t *field : fields_of(type)) field->index = 0;
    if (count == 0) return VRN_SCHEMA_OK;
    const std::uint16_t assigned = number_fields(type, {index_names, count});
    // Deliberately no failure: providers name fields that this type needn't have.
    if (count != assigned)
        VRN_LOG(VRN_LOG_DEBUG, "Mismatch in assigned indices: expected %zu, but assigned %u (%s).",
                count, assigned, type->name);
    return VRN_SCHEMA_OK;
}

const char **vrn_schema_get_indexed_field_names(const vrn_schema_t *schema,
                                                std::uint32_t type_index, std::size_t *out_count) {
    if (!out_count) {
        // Deliberate: the messages here carry file and line instead of the function. No path, which
        // would make builds in other folders differ.
        VRN_LOG(VRN_LOG_ERROR, "[%s %i] out_count is NULL", __FILE_NAME__, __LINE__);
        return nullptr;
    }
    *out_count = 0;
    if (!schema) {
        VRN_LOG(VRN_LOG_ERROR, "[%s %i] schema is NULL", __FILE_NAME__, __LINE__);
        return nullptr;
    }
    if (type_index >= schema->num_types) {
        VRN_LOG(VRN_LOG_ERROR, "[%s %i] type_index %u out of bounds (max: %u)", __FILE_NAME__,
                __LINE__, type_index, schema->num_types - 1U);
        return nullptr;
    }
    const vrn_type_definition_t *type = schema->types[type_index];
    if (!type) {
        VRN_LOG(VRN_LOG_ERROR, "[%s %i] schema->types[%u] is NULL", __FILE_NAME__, __LINE__,
                type_index);
        return nullptr;
    }
    const auto fields = fields_of(type);
    const auto count = static_cast<std::size_t>(std::ranges::count_if(fields, is_indexed));
    // One place at least: null is kept for failures.
    auto **names =
        static_cast<const char **>(std::malloc(std::max<std::size_t>(count, 1) * sizeof(char *)));
    if (!names) {
        VRN_LOG(VRN_LOG_ERROR, "[%s %i] malloc failed for %zu fields", __FILE_NAME__, __LINE__,
                count);
        return nullptr;
    }
    for (const vrn_type_field_definition_t *field : fields)
        if (is_indexed(field)) names[(*out_count)++] = field->field_name;
    return names;
}
