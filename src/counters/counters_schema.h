// Layout of counters rows: groups of counters.
#pragma once
#include <parson.h>
#include "counters/counter_group.h"
#include "data/schema/provider_counter_set.h"
#include "data/schema_id.h"
#include "utils/c_ptr.h"

struct vrn_counters_schema_t {
    std::uint32_t size;  // row size in bytes
    std::uint32_t num_groups;
    vrn_counter_group_t **groups;  // owned array of owned groups
};

vrn_counters_schema_t *vrn_counters_schema_create();
void vrn_counters_schema_destroy(vrn_counters_schema_t *schema);  // accepts null
using vrn_counters_schema_ptr = vrn::CPtr<vrn_counters_schema_t, vrn_counters_schema_destroy>;
JSON_Value *vrn_counters_schema_jsonify(const vrn_counters_schema_t *schema);
vrn_counters_schema_t *vrn_counters_schema_from_json(const JSON_Value *value,
                                                     const vrn_provider_counter_set_t *counter_set);
vrn_counters_schema_t *vrn_counters_schema_from_file(const char *path,
                                                     const vrn_provider_counter_set_t *counter_set);
vrn_counters_schema_t *vrn_counters_schema_from_file_all(const char *path);
