#include "data/schema/type_system.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

#include "counters/counters_schema_json.h"
#include "data/schema/schema_json.h"
#include "data/schema/type_layout.h"
#include "data/text/json_value.h"
#include "data/version.h"
#include "utils/log.h"

namespace {

std::span<vrn_schema_t *const> schemas_of(const vrn_type_system_t *ts) {
    return {ts->schemas, ts->num_schemas};
}

vrn_schema_ptr create_builtin_schema() {
    vrn_schema_ptr schema(vrn_schema_create("<built-in>", VRN_SCHEMA_VERSION));
    if (!schema || !vrn_schema_add_builtin_types(schema.get())) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to register built-in types");
        return nullptr;
    }
    return schema;
}

}  // namespace

vrn_type_system_t *vrn_type_system_create() {
    vrn_type_system_ptr ts(
        static_cast<vrn_type_system_t *>(std::calloc(1, sizeof(vrn_type_system_t))));
    if (!ts) return nullptr;
    ts->builtin_schema = create_builtin_schema().release();  // to the system
    if (!ts->builtin_schema) return nullptr;
    // Empty rather than null, so that whoever asks a new system needs no check.
    ts->counters_schema = vrn_counters_schema_create();
    if (!ts->counters_schema) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to create counters schema object");
        return nullptr;
    }
    return ts.release();  // to the caller
}

void vrn_type_system_destroy(vrn_type_system_t *ts) {
    if (!ts) return;
    // All places and not just the used ones: who shares schemas gives up places by clearing them.
    for (vrn_schema_t *&schema : ts->schemas) vrn_schema_destroy(std::exchange(schema, nullptr));
    vrn_schema_destroy(ts->builtin_schema);
    vrn_counters_schema_destroy(ts->counters_schema);
    std::free(ts);
}

vrn_schema_t *vrn_type_system_add_new_schema(vrn_type_system_t *ts, const char *provider_name,
                                             std::uint32_t provider_version,
                                             std::uint8_t *out_index) {
    if (ts->num_schemas == VRN_MAX_SCHEMAS) return nullptr;
    vrn_schema_ptr schema(vrn_schema_create(provider_name, provider_version));
    if (!schema) return nullptr;
    schema->parent = ts->builtin_schema;
    if (!vrn_schema_refresh_digest(schema.get())) return nullptr;
    return vrn_type_system_append(ts, std::move(schema), out_index);
}

vrn_schema_t *vrn_type_system_append(vrn_type_system_t *ts, vrn_schema_ptr schema,
                                     std::uint8_t *out_index) {
    if (ts->num_schemas == VRN_MAX_SCHEMAS) return nullptr;
    if (out_index) *out_index = ts->num_schemas;
    return ts->schemas[ts->num_schemas++] = schema.release();  // to the system
}

const vrn_type_definition_t *vrn_type_system_find_type(const vrn_type_system_t *ts,
                                                       std::uint8_t schema_index,
                                                       std::uint16_t type_index) {
    const vrn_schema_t *schema =
        schema_index < ts->num_schemas ? ts->schemas[schema_index] : nullptr;
    // Only the low 8 bits count: that many types fit, though the field on disk is wider.
    const auto index = static_cast<std::uint8_t>(type_index);
    return schema && index < schema->num_types ? schema->types[index] : nullptr;
}

std::uint8_t vrn_type_system_remove_last_schema(vrn_type_system_t *ts) {
    if (ts->num_schemas == 0) return 0;
    vrn_schema_t *&last = ts->schemas[ts->num_schemas - 1];
    if (!last) return 0;
    vrn_schema_destroy(std::exchange(last, nullptr));
    return --ts->num_schemas;
}

// The built-in schema lives in the system, so a schema must be linked anew wherever it moves.
bool vrn_type_system_adjust_type_fields(const vrn_type_system_t *ts, vrn_schema_t *schema) {
    schema->parent = ts->builtin_schema;
    return vrn_schema_link_types(schema);
}

std::uint32_t vrn_type_system_add_schemas_of(vrn_type_system_t *ts, const vrn_type_system_t *other,
                                             std::uint8_t *out_index) {
    for (vrn_schema_t *schema : schemas_of(other)) {
        // The schemas are then in both systems; one of them has to give up its places.
        if (ts->num_schemas == VRN_MAX_SCHEMAS || !vrn_type_system_adjust_type_fields(ts, schema)) {
            VRN_LOG(VRN_LOG_ERROR, "Cannot add schema to type system");
            return VRN_TYPE_SYSTEM_FAILED;
        }
        vrn_type_system_append(ts, vrn_schema_ptr(schema), out_index);
    }
    return 0;
}

bool vrn_type_system_refresh_digests(vrn_type_system_t *ts) {
    // Stops at the first failure; the digests after it stay as they were.
    return std::ranges::all_of(schemas_of(ts), vrn_schema_refresh_digest);
}

bool vrn_type_system_find_schema_by_hex(const vrn_type_system_t *ts, const char *hex,
                                        std::uint8_t *out_index) {
    const auto schemas = schemas_of(ts);
    const auto found = std::ranges::find_if(schemas, [hex](const vrn_schema_t *schema) {
        return std::strcmp(schema->md5_digest_hex, hex) == 0;
    });
    if (found == schemas.end()) return false;
    VRN_LOG(VRN_LOG_DEBUG, "Schema already exists %s", hex);
    if (out_index) *out_index = static_cast<std::uint8_t>(found - schemas.begin());
    return true;
}

bool vrn_type_system_get_counters_schema_id(vrn_type_system_t *ts, vrn_schema_id_t *out_id) {
    if (!ts->counters_schema) return true;  // no id to tell, and no failure
    // Kept from then on: schemas don't change once rows are written.
    if (vrn_schema_id_is_zero(&ts->counters_schema_id)) {
        const vrn_json_value_ptr value(vrn_counters_schema_jsonify(ts->counters_schema));
        if (!value || !vrn_md5_of_json(&ts->counters_schema_id, value.get())) return false;
    }
    vrn_schema_id_copy(out_id, &ts->counters_schema_id);
    return true;
}

std::uint32_t vrn_type_system_max_type_size(const vrn_type_system_t *ts) {
    std::uint64_t largest = 0;
    for (const vrn_schema_t *schema : schemas_of(ts)) {
        for (std::size_t i = 0; i < schema->num_types; ++i)
            largest = std::max(largest, schema->types[i]->size);
    }
    // Sizes of a document reach 2^64; buffers are sized in 32 bits.
    constexpr std::uint64_t cap = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(largest, cap));
}

std::uint32_t vrn_type_system_max_record_size(const vrn_type_system_t *ts) {
    const std::uint32_t row_size = ts->counters_schema ? ts->counters_schema->size : 0;
    return std::max(vrn_type_system_max_type_size(ts), row_size);
}
