#include "data/schema/schema_json.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "data/schema/type_json.h"
#include "data/schema/type_layout.h"
#include "data/text/json_document.h"
#include "data/text/json_value.h"
#include "data/version.h"
#include "utils/log.h"

namespace {

// A template demands keys and their types; a document may have more.
constexpr char schema_template[] =
    R"({"vrn_version" : "", "provider_name" : "", "provider_version" : "", "types" : []})";

bool write_types(JSON_Array *types, const vrn_schema_t &schema) {
    for (std::size_t i = 0; i < schema.num_types; ++i) {
        vrn_json_value_ptr type(vrn_type_definition_to_json(schema.types[i]));
        if (!type) return false;
        // After the other keys, where it has always stood; readers go by the place in the array.
        if (!vrn_json_set_number(json_value_get_object(type.get()), "type_index", i) ||
            !vrn_json_append(types, std::move(type)))
            return false;
    }
    return true;
}

// The order of the calls is the order of the keys, and so part of the schema's id.
bool write_schema(JSON_Object *object, const vrn_schema_t &schema) {
    const char *version = vrn_version_format(schema.provider_version);
    if (!vrn_json_set_text(object, "title", "Varnel schema") ||
        !vrn_json_set_text(object, "vrn_version", VRN_SCHEMA_VERSION_TEXT) ||
        !vrn_json_set_text(object, "provider_name", schema.provider_name) ||
        !vrn_json_set_text(object, "provider_version", version))
        return false;
    JSON_Array *types = vrn_json_add_array(object, "types");
    return types && write_types(types, schema);
}

// Whether the document is of this kind and of a version that can be read.
bool can_read(const JSON_Value *value) {
    const vrn_json_value_ptr expected = vrn_json_template_parse(schema_template);
    if (!expected) return false;
    if (json_validate(expected.get(), value) != JSONSuccess) {
        // The usual way of a counters schema, which loaders try as both.
        VRN_LOG(VRN_LOG_INFO, "Not an event schema");
        return false;
    }
    const char *version = json_object_get_string(json_value_get_object(value), "vrn_version");
    if (!vrn_version_text_is_compatible(version, VRN_SCHEMA_VERSION_TEXT)) {
        VRN_LOG(VRN_LOG_ERROR, "Schema version %s is incompatible with current version %s", version,
                VRN_SCHEMA_VERSION_TEXT);
        return false;
    }
    return true;
}

// Places all types that are not dropped. A caller without `out_parsed` can't tell a dropped type
// from a bad one, so that one fails it as well.
bool read_types(const JSON_Array *types, const vrn_provider_field_set_t *field_set,
                const bool *out_parsed, vrn_schema_t *schema) {
    for (std::size_t i = 0; i < json_array_get_count(types); ++i) {
        const int number = static_cast<int>(i);
        const JSON_Value *element = json_array_get_value(types, i);
        if (!element) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to get type #%d from JSON array", number);
            return false;
        }
        bool dropped = false;
        vrn_type_definition_ptr type(vrn_type_definition_from_json(element, field_set, &dropped));
        if (!type && dropped && out_parsed != nullptr) continue;
        if (!type) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to deserialize type #%d from JSON array", number);
            return false;
        }
        if (schema->num_types == VRN_MAX_TYPES) {
            VRN_LOG(VRN_LOG_ERROR, "Schema '%s' has more than %zu types", schema->provider_name,
                    VRN_MAX_TYPES);
            return false;
        }
        if (!vrn_schema_append_type(schema, std::move(type))) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to add type #%d to the schema: %s", number,
                    std::strerror(ENOMEM));
            return false;
        }
    }
    return true;
}

}  // namespace

JSON_Value *vrn_schema_to_json(const vrn_schema_t *schema) {
    if (schema->num_types == 0) return nullptr;
    vrn_json_value_ptr value(json_value_init_object());
    if (!value || !write_schema(json_value_get_object(value.get()), *schema)) return nullptr;
    return value.release();  // to the caller
}

char *vrn_schema_type_to_string(const vrn_schema_t *schema, const char *type_name, bool pretty) {
    const vrn_type_definition_t *type = vrn_schema_find_type(schema, type_name);
    if (!type) return nullptr;
    const vrn_json_value_ptr value(vrn_type_definition_to_json(type));
    if (!value) return nullptr;
    return pretty ? json_serialize_to_string_pretty(value.get())
                  : json_serialize_to_string(value.get());
}

vrn_schema_t *vrn_schema_from_json(const JSON_Value *value,
                                   const vrn_provider_field_set_t *field_set, bool *out_parsed) {
    if (out_parsed) *out_parsed = false;
    if (!can_read(value)) return nullptr;
    const JSON_Object *object = json_value_get_object(value);
    const char *provider = json_object_get_string(object, "provider_name");
    vrn_schema_ptr schema(vrn_schema_create(
        provider, vrn_version_parse(json_object_get_string(object, "provider_version"))));
    if (!schema) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to initialize '%s' schema: %s", provider,
                std::strerror(errno));
        return nullptr;
    }
    const JSON_Array *types = json_object_get_array(object, "types");
    if (!read_types(types, field_set, out_parsed, schema.get())) return nullptr;
    // Also for what follows: nothing went wrong, there is just nothing left to read.
    if (out_parsed) *out_parsed = true;
    if (field_set && schema->num_types == 0) {
        VRN_LOG(VRN_LOG_DEBUG, "No types found in the schema after filtering by field set");
        return nullptr;
    }
    return schema.release();  // to the caller
}

vrn_schema_t *vrn_schema_from_json(const JSON_Value *value) {
    return vrn_schema_from_json(value, nullptr, nullptr);
}

vrn_schema_t *vrn_schema_load_from_file(const char *path, const vrn_schema_t *parent) {
    const vrn_json_value_ptr value = vrn_json_file_parse(path);
    if (!value) {
        VRN_LOG(VRN_LOG_ERROR, "Failed reading schema JSON from file '%s'", path);
        return nullptr;
    }
    vrn_schema_ptr schema(vrn_schema_from_json(value.get()));
    if (!schema) return nullptr;
    // Before linking, which looks up built-in types there.
    schema->parent = parent;
    if (!vrn_schema_link_types(schema.get())) return nullptr;
    if (!vrn_schema_refresh_digest(schema.get())) return nullptr;
    return schema.release();  // to the caller
}

bool vrn_schema_compute_digest(const vrn_schema_t *schema, vrn_schema_id_t *digest) {
    const vrn_json_value_ptr value(vrn_schema_to_json(schema));
    return value && vrn_md5_of_json(digest, value.get());
}

bool vrn_schema_refresh_digest(vrn_schema_t *schema) {
    if (schema->num_types > 0 && !vrn_schema_compute_digest(schema, &schema->md5_digest)) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to compute the id of schema '%s'",
                vrn_schema_provider_text(schema));
        return false;
    }
    vrn_schema_id_format(&schema->md5_digest, schema->md5_digest_hex);
    return true;
}
