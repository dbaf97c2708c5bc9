#include "data/schema/type_system_load.h"

#include <utility>

#include "counters/counters_schema_json.h"
#include "data/schema/schema_json.h"
#include "data/text/json_document.h"
#include "data/text/json_value.h"
#include "utils/log.h"

namespace {

// Schema index of a counters schema: no event schema can have it.
constexpr std::uint8_t counters_schema_index = VRN_MAX_SCHEMAS;

bool find_digest(const vrn_type_system_t *ts, const vrn_schema_id_t &digest,
                 std::uint8_t *out_index) {
    for (std::uint8_t i = 0; i < ts->num_schemas; ++i) {
        if (vrn_schema_id_compare(&ts->schemas[i]->md5_digest, &digest) != 0) continue;
        *out_index = i;
        return true;
    }
    return false;
}

void merge_counters_schema(vrn_type_system_t *ts, vrn_counters_schema_ptr counters,
                           std::uint8_t *out_index) {
    // There is one counters schema in a system: the last one wins.
    VRN_LOG(VRN_LOG_DEBUG, "FOUND COUNTERS SCHEMA");
    // The cached id of the schema before stays, deliberately.
    vrn_counters_schema_destroy(ts->counters_schema);
    ts->counters_schema = counters.release();  // to the system
    *out_index = counters_schema_index;
}

// `text` is what the schema was read from: here its MD5, as it came, identifies the schema.
void merge_event_schema(vrn_type_system_t *ts, vrn_schema_ptr schema, const char *text,
                        std::uint8_t *out_index) {
    static_cast<void>(vrn_md5_of_string(text, &schema->md5_digest));  // fails for null alone
    if (find_digest(ts, schema->md5_digest, out_index)) {
        VRN_LOG(VRN_LOG_DEBUG, "Schema already exists");
        return;
    }
    VRN_LOG(VRN_LOG_DEBUG, "FOUND EVENTS SCHEMA");
    vrn_schema_id_format(&schema->md5_digest, schema->md5_digest_hex);
    vrn_schema_t *added = vrn_type_system_append(ts, std::move(schema), out_index);
    // What can't be linked stays undecodable.
    static_cast<void>(vrn_type_system_adjust_type_fields(ts, added));
}

}  // namespace

vrn_schema_t *vrn_type_system_load_schema_file(vrn_type_system_t *ts, const char *path,
                                               const vrn_provider_field_set_t *field_set,
                                               bool *out_parsed) {
    if (ts->num_schemas == VRN_MAX_SCHEMAS) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to load schema: schema limit exceeded '%u'",
                ts->num_schemas);
        return nullptr;
    }
    if (out_parsed) *out_parsed = false;
    const vrn_json_value_ptr value = vrn_json_file_parse(path);
    if (!value) {
        VRN_LOG(VRN_LOG_ERROR, "Failed reading schema JSON from file '%s'", path);
        return nullptr;
    }
    vrn_schema_ptr schema(vrn_schema_from_json(value.get(), field_set, out_parsed));
    if (!schema) return nullptr;
    if (!vrn_type_system_adjust_type_fields(ts, schema.get())) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to adjust type fields within schema %s",
                schema->provider_name);
        // Not to be taken for a schema that the field set dropped.
        if (out_parsed) *out_parsed = false;
        return nullptr;
    }
    // The digest stays zero: the id in the file's name is trusted. A schema that a field set
    // emptied never comes here, so the indexes of those that follow shift. Deliberate.
    return vrn_type_system_append(ts, std::move(schema), nullptr);
}

vrn_schema_t *vrn_type_system_load_schema_file_all(vrn_type_system_t *ts, const char *path) {
    return vrn_type_system_load_schema_file(ts, path, nullptr, nullptr);
}

std::uint32_t vrn_type_system_add_schema_from_json_string(vrn_type_system_t *ts, const char *text,
                                                          std::uint8_t *out_index) {
    if (ts->num_schemas == VRN_MAX_SCHEMAS) return VRN_TYPE_SYSTEM_FAILED;
    const vrn_json_value_ptr value(json_parse_string(text));
    if (!value) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to read schemas as JSON");
        return VRN_TYPE_SYSTEM_FAILED;
    }
    vrn_schema_ptr schema(vrn_schema_from_json(value.get()));
    // Both are tried, and both tell what is wrong: nothing in a document names its kind.
    vrn_counters_schema_ptr counters(vrn_counters_schema_from_json(value.get(), nullptr));
    if (!schema && !counters) {
        VRN_LOG(VRN_LOG_ERROR,
                "Failed to convert schema from JSON to internal memory representation");
        return VRN_TYPE_SYSTEM_FAILED;
    }
    if (counters)
        merge_counters_schema(ts, std::move(counters), out_index);
    else
        merge_event_schema(ts, std::move(schema), text, out_index);
    return 0;
}
