#include "reader/schema_load.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "counters/counters_schema_json.h"
#include "data/schema/type_system_load.h"
#include "data/selection/provider_counter_set.h"
#include "data/selection/provider_field_set.h"
#include "utils/log.h"
#include "utils/log_capture.h"
#include "utils/string_template.h"

namespace {

// The filters of one load; the type system keeps no reference to them.
struct Filters {
    vrn_provider_field_set_ptr field_set;      // null: take all fields
    vrn_provider_counter_set_ptr counter_set;  // null: take all counters
    bool take_events = true;
    bool take_counters = true;
};

bool load_field_set(const char *path, vrn_provider_field_set_ptr *set) {
    set->reset(vrn_provider_field_set_create());
    if (!*set) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to create provider field set object: %s",
                std::strerror(errno));
        return false;
    }
    if (vrn_provider_field_set_init_from_file(set->get(), path)) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load provider field set from file: %s", path);
    return false;
}

bool load_counter_set(const char *path, vrn_provider_counter_set_ptr *set) {
    set->reset(vrn_provider_counter_set_create());
    if (!*set) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to create provider counter set object: %s",
                std::strerror(errno));
        return false;
    }
    if (vrn_provider_counter_set_init_from_file(set->get(), path)) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load provider counter set from file: %s", path);
    return false;
}

bool load_filters(const vrn_reader_options_t *options, Filters *filters) {
    if (options->fset_file && !load_field_set(options->fset_file, &filters->field_set))
        return false;
    if (options->cset_file && !load_counter_set(options->cset_file, &filters->counter_set))
        return false;
    // With one filter file alone, the other kind of data is taken whole or not at all.
    const bool take_unfiltered =
        options->ignore_missing_filter || (!filters->field_set && !filters->counter_set);
    filters->take_events = filters->field_set || take_unfiltered;
    filters->take_counters = filters->counter_set || take_unfiltered;
    return true;
}

vrn::CString schema_file_name(const vrn_reader_t *reader, const vrn_schema_id_t *id) {
    const vrn::CString hex(vrn_schema_id_to_hex(id));
    if (!hex) return nullptr;
    return vrn::CString(
        vrn_format_string("%s/schema_%s.json", reader->options->schema_path, hex.get()));
}

// True also when the field set dropped the schema.
bool load_event_schema(vrn_reader_t *reader, const vrn_schema_id_t *id,
                       const vrn_provider_field_set_t *field_set) {
    const vrn::CString path = schema_file_name(reader, id);
    if (!path) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to build schema file name from the schema id");
        return false;
    }
    bool parsed = false;
    const vrn_schema_t *schema =
        field_set
            ? vrn_type_system_load_schema_file(reader->type_system, path.get(), field_set, &parsed)
            : vrn_type_system_load_schema_file_all(reader->type_system, path.get());
    if (schema || parsed) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load schema from file: %s", path.get());
    return false;
}

bool load_counters_schema(vrn_reader_t *reader, const vrn_provider_counter_set_t *counter_set) {
    const vrn_schema_id_t *id = &reader->header.counters_schema_id;
    if (vrn_schema_id_is_zero(id)) return true;
    const vrn::CString path = schema_file_name(reader, id);
    if (!path) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to build schema file name from the counters schema id");
        return false;
    }
    vrn_counters_schema_t **schema = &reader->type_system->counters_schema;
    vrn_counters_schema_destroy(*schema);
    *schema = counter_set ? vrn_counters_schema_from_file(path.get(), counter_set)
                          : vrn_counters_schema_from_file_all(path.get());
    if (*schema) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load counters schema from file: %s", path.get());
    return false;
}

bool renew_type_system(vrn_reader_t *reader) {
    reader->type_system = vrn_type_system_create();
    if (reader->type_system) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to create type system object: %s", std::strerror(errno));
    return false;
}

void drop_loaded(vrn_reader_t *reader) {
    // Prepared for the old schema.
    delete std::exchange(reader->counters_json, nullptr);
    delete std::exchange(reader->counters_table, nullptr);
    vrn_type_system_destroy(std::exchange(reader->type_system, nullptr));
    reader->loaded = {};
}

bool load_named(vrn_reader_t *reader, const vrn_loaded_schemas_t &named) {
    Filters filters;
    if (!load_filters(reader->options, &filters)) return false;
    if (!renew_type_system(reader)) return false;
    for (std::size_t i = 0; filters.take_events && i < named.num_event_ids; ++i)
        if (!load_event_schema(reader, &named.event_ids[i], filters.field_set.get())) return false;
    return !filters.take_counters || load_counters_schema(reader, filters.counter_set.get());
}

bool is_loaded(const vrn_loaded_schemas_t &loaded, const vrn_loaded_schemas_t &named) {
    return loaded.may_be_kept && loaded.num_event_ids == named.num_event_ids &&
           std::memcmp(loaded.event_ids, named.event_ids, sizeof named.event_ids) == 0 &&
           vrn_schema_id_compare(&loaded.counters_id, &named.counters_id) == 0;
}

}  // namespace

bool vrn_reader_load_type_system(vrn_reader_t *reader, const vrn_schema_id_t *ids,
                                 std::size_t count) {
    vrn_loaded_schemas_t named{};
    for (std::size_t i = 0; i < count; ++i)
        if (!vrn_schema_id_is_zero(&ids[i])) named.event_ids[named.num_event_ids++] = ids[i];
    named.counters_id = reader->header.counters_schema_id;
    // Nothing else of a file decides what is loaded: files and schemas blocks that name the same
    // schemas over and over cost one load.
    if (is_loaded(reader->loaded, named)) return true;
    drop_loaded(reader);
    bool done = false;
    std::vector<vrn::LogLine> lines;
    {
        vrn::LogCapture log;
        done = load_named(reader, named);
        lines = log.take();
    }
    named.may_be_kept = done && lines.empty() &&
                        vrn_counters_schema_has_all_texts(reader->type_system->counters_schema);
    reader->loaded = named;
    vrn::log_again(lines);
    return done;
}
