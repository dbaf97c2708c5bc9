#include "data/schema/type_system_json.h"

#include <algorithm>
#include <utility>

#include "counters/counters_schema_json.h"
#include "data/schema/schema_json.h"
#include "data/text/json_value.h"
#include "data/version.h"
#include "utils/log.h"

namespace {

constexpr std::uint32_t min_version = vrn_version_pack(1, 4, 0);

bool write_counters_schema(JSON_Object *object, const vrn_type_system_t &ts) {
    if (!ts.counters_schema) return true;
    vrn_json_value_ptr counters(vrn_counters_schema_jsonify(ts.counters_schema));
    if (vrn_json_set(object, "counters_schema", std::move(counters))) return true;
    VRN_LOG(VRN_LOG_ERROR, "[ts] failed to serialize counters schema");
    return false;
}

bool write_schemas(JSON_Object *object, const vrn_type_system_t &ts) {
    JSON_Array *schemas = vrn_json_add_array(object, "schemas");
    if (!schemas) return false;
    for (std::size_t i = 0; i < ts.num_schemas; ++i) {
        // A schema without types has no document.
        if (ts.schemas[i]->num_types == 0) continue;
        if (!vrn_json_append(schemas, vrn_json_value_ptr(vrn_schema_to_json(ts.schemas[i]))))
            return false;
    }
    return true;
}

// The order of the calls is the order of the keys.
bool write_system(JSON_Object *object, const vrn_type_system_t &ts) {
    return vrn_json_set_text(object, "name", "Varnel type system") &&
           vrn_json_set_text(object, "version", VRN_SCHEMA_VERSION_TEXT) &&
           write_counters_schema(object, ts) && write_schemas(object, ts);
}

void warn_of_old_version(const char *version) {
    if (vrn_version_compare(vrn_version_parse(version), min_version) >= 0) return;
    // The minimal version stands in both places, deliberately: both have always shared one buffer.
    const char *text = vrn_version_format(min_version);
    VRN_LOG(VRN_LOG_ERROR,
            "[ts] Failed to deserialize: schema version %s is incompatible with the deserializer, "
            "the minimal supported schema version is %s",
            text, text);
}

// The id is that of the element as it was read, in case this version would write it otherwise.
void fill_digest(vrn_schema_t *schema, const JSON_Value *element) {
    if (!vrn_md5_of_json(&schema->md5_digest, element))
        VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to fill schema '%s' md5 digest", schema->provider_name);
}

bool read_schema(vrn_type_system_t *ts, const JSON_Value *element) {
    vrn_schema_ptr schema(vrn_schema_from_json(element));
    if (!schema) {
        VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: unable to decode type schema");
        return false;
    }
    fill_digest(schema.get(), element);
    vrn_schema_t *added = vrn_type_system_append(ts, std::move(schema), nullptr);
    if (vrn_type_system_adjust_type_fields(ts, added)) return true;
    VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: unable to adjust type fields of schema %s",
            added->provider_name);
    return false;
}

bool read_schemas(vrn_type_system_t *ts, const JSON_Array *schemas) {
    const std::size_t count = json_array_get_count(schemas);
    // Deliberately no failure: those that fit are read.
    if (count > VRN_MAX_SCHEMAS)
        VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: number of schemas %zu exceeds limit %d",
                count, static_cast<int>(VRN_MAX_SCHEMAS));
    // There is no place for the elements beyond the limit.
    for (std::size_t i = 0; i < std::min(count, VRN_MAX_SCHEMAS); ++i) {
        const JSON_Value *element = json_array_get_value(schemas, i);
        if (!element) {
            VRN_LOG(VRN_LOG_ERROR,
                    "[ts] Failed to deserialize: unable to get schema #%d from the array",
                    static_cast<int>(i));
            return false;
        }
        if (!read_schema(ts, element)) return false;
    }
    return true;
}

// A document without the keys of a type system: it may be a counters schema on its own.
bool read_bare_counters_schema(vrn_type_system_t *ts, const JSON_Value *value) {
    if (!json_object_get_array(json_value_get_object(value), "counter_groups")) {
        VRN_LOG(VRN_LOG_ERROR,
                // The prefix is that of another component, deliberately.
                "[schema writer] schema was not recognized as either type system or counters "
                "schema");
        return false;
    }
    ts->counters_schema = vrn_counters_schema_from_json(value, nullptr);
    if (ts->counters_schema) return true;
    VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: unable to decode JSON as counters schema");
    return false;
}

// Fills a system that has no counters schema yet.
bool read_system(vrn_type_system_t *ts, const JSON_Value *value) {
    const JSON_Object *object = json_value_get_object(value);
    const JSON_Array *schemas = json_object_get_array(object, "schemas");
    const JSON_Value *counters = json_object_get_value(object, "counters_schema");
    if (!counters && !schemas) return read_bare_counters_schema(ts, value);
    if (counters) {
        ts->counters_schema = vrn_counters_schema_from_json(counters, nullptr);
        if (!ts->counters_schema) {
            VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: unable to decode counters schema");
            return false;
        }
    }
    return !schemas || read_schemas(ts, schemas);
}

}  // namespace

JSON_Value *vrn_type_system_to_json(const vrn_type_system_t *ts) {
    vrn_json_value_ptr value(json_value_init_object());
    if (!value || !write_system(json_value_get_object(value.get()), *ts)) return nullptr;
    return value.release();  // to the caller
}

char *vrn_type_system_to_string(const vrn_type_system_t *ts, bool pretty) {
    const vrn_json_value_ptr value(vrn_type_system_to_json(ts));
    if (!value) return nullptr;
    return pretty ? json_serialize_to_string_pretty(value.get())
                  : json_serialize_to_string(value.get());
}

vrn_type_system_t *vrn_type_system_from_json(const JSON_Value *value) {
    const JSON_Object *object = json_value_get_object(value);
    if (!object) {
        VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: schema is not a JSON object");
        return nullptr;
    }
    const char *version = json_object_get_string(object, "version");
    if (!version) {
        VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: missing Varnel schema version");
        return nullptr;
    }
    // Deliberate: a version is told of and never refused here.
    warn_of_old_version(version);
    vrn_type_system_ptr ts(vrn_type_system_create());
    if (!ts) {
        VRN_LOG(VRN_LOG_ERROR, "[ts] Failed to deserialize: unable to create type system object");
        return nullptr;
    }
    // A document without a counters schema gives a system without one.
    vrn_counters_schema_destroy(std::exchange(ts->counters_schema, nullptr));
    if (!read_system(ts.get(), value)) return nullptr;
    return ts.release();  // to the caller
}

vrn_type_system_t *vrn_type_system_from_string(const char *text) {
    const vrn_json_value_ptr value(json_parse_string(text));
    if (!value) {
        VRN_LOG(VRN_LOG_ERROR, "Failed parsing schema JSON string");
        return nullptr;
    }
    return vrn_type_system_from_json(value.get());
}
