#include "data/schema/schema.h"

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "utils/catch_all.h"
#include "utils/log.h"

namespace {

// JSON text can't be written from front to back when a key is set twice.
bool has_repeated_names(const vrn_type_definition_t &type) {
    std::unordered_set<std::string_view> names;
    for (std::uint16_t i = 0; i < type.num_fields; ++i) {
        const char *name = type.fields[i]->field_name;
        if (name && !names.insert(name).second) return true;
    }
    return false;
}

}  // namespace

vrn_schema_t *vrn_schema_create(const char *provider_name, std::uint32_t provider_version) {
    vrn_schema_ptr schema(static_cast<vrn_schema_t *>(std::calloc(1, sizeof(vrn_schema_t))));
    if (!schema) return nullptr;
    schema->provider_version = provider_version;
    if (provider_name) {
        schema->provider_name = strdup(provider_name);
        if (!schema->provider_name) return nullptr;
    }
    // calloc cleared it; the line stays for those who follow the life of a schema in a log.
    VRN_LOG(VRN_LOG_DEBUG, "clearing md5_digest of schema: %p", static_cast<void *>(schema.get()));
    return schema.release();  // to the caller, its digest zeroed like the rest
}

void vrn_schema_destroy(vrn_schema_t *schema) {
    if (!schema) return;
    for (std::size_t i = 0; i < schema->num_types; ++i)
        vrn_type_definition_destroy(schema->types[i]);
    std::free(schema->provider_name);
    std::free(schema);
}

const char *vrn_schema_provider_text(const vrn_schema_t *schema) {
    return schema->provider_name ? schema->provider_name : "<undefined>";
}

bool vrn_schema_append_type(vrn_schema_t *schema, vrn_type_definition_ptr type) {
    if (schema->num_types == VRN_MAX_TYPES) return false;
    // Found out once here and not for each record.
    const auto compare_names = [&] { type->has_repeated_names = has_repeated_names(*type); };
    if (!vrn::catch_all(compare_names)) return false;
    schema->types[schema->num_types++] = type.release();  // to the schema
    return true;
}

// A linear search: schemas are linked once, and records don't come by here.
const vrn_type_definition_t *vrn_schema_find_type(const vrn_schema_t *schema, const char *name) {
    if (!name) return nullptr;
    // A schema's own types hide built-in ones of their name.
    for (; schema; schema = schema->parent) {
        for (std::size_t i = 0; i < schema->num_types; ++i)
            if (std::strcmp(schema->types[i]->name, name) == 0) return schema->types[i];
    }
    return nullptr;
}

std::uint64_t vrn_schema_type_size(const vrn_schema_t *schema, const char *name) {
    const vrn_type_definition_t *type = vrn_schema_find_type(schema, name);
    return type ? type->size : 0;
}

bool vrn_schema_resolve_type_fields(const vrn_schema_t *schema, vrn_type_definition_t *type) {
    for (std::uint16_t i = 0; i < type->num_fields; ++i) {
        vrn_type_field_definition_t *field = type->fields[i];
        vrn_field_definition_bind(field, vrn_schema_find_type(schema, field->type_name));
        if (field->type) continue;
        VRN_LOG(VRN_LOG_ERROR, "Definition of type %s not found within the schema %s",
                field->type_name, vrn_schema_provider_text(schema));
        return false;
    }
    return true;
}

bool vrn_schema_add_builtin_types(vrn_schema_t *schema) {
    for (std::uint32_t id = 1; const char *name = vrn_builtin_type_name(id); ++id) {
        if (schema->num_types == VRN_MAX_TYPES) break;
        vrn_type_definition_ptr type(vrn_type_definition_create(name));
        if (!type) return false;
        type->builtin_id = id;
        type->size = vrn_builtin_type_size(id);
        if (!vrn_schema_append_type(schema, std::move(type))) return false;
    }
    return true;
}
