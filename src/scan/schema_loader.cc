#include "scan/schema_loader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "counters/counters_schema_json.h"
#include "data/schema/type_system_load.h"
#include "data/selection/provider_counter_set.h"
#include "data/selection/provider_field_set.h"
#include "scan/schema_folder.h"
#include "utils/log.h"

namespace vrn::scan {

// Of one load; the type system keeps no reference to them.
struct SchemaLoader::Filters {
    vrn_provider_field_set_ptr field_set;      // null: take all fields
    vrn_provider_counter_set_ptr counter_set;  // null: take all counters
    bool take_events = true;
    bool take_counters = true;
};

namespace {

bool load_field_set(const std::string &path, vrn_provider_field_set_ptr *set) {
    set->reset(vrn_provider_field_set_create());
    if (!*set) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to create provider field set object: %s",
                std::strerror(errno));
        return false;
    }
    if (vrn_provider_field_set_init_from_file(set->get(), path.c_str())) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load provider field set from file: %s", path.c_str());
    return false;
}

bool load_counter_set(const std::string &path, vrn_provider_counter_set_ptr *set) {
    set->reset(vrn_provider_counter_set_create());
    if (!*set) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to create provider counter set object: %s",
                std::strerror(errno));
        return false;
    }
    if (vrn_provider_counter_set_init_from_file(set->get(), path.c_str())) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load provider counter set from file: %s", path.c_str());
    return false;
}

}  // namespace

std::shared_ptr<const LoadedSchemas> SchemaLoader::load(const SchemaIds &ids) const {
    auto schemas = std::make_shared<LoadedSchemas>();
    schemas->ids = ids;
    LogCapture log;
    schemas->is_whole = load_all(ids, schemas.get());
    schemas->lacks_files = !schemas->is_whole && lacks_files(ids);
    schemas->messages = log.take();
    schemas->is_quiet = schemas->is_whole && schemas->messages.empty() &&
                        vrn_counters_schema_has_all_texts(schemas->counters_schema());
    return schemas;
}

bool SchemaLoader::load_filters(Filters *filters) const {
    const std::optional<std::string> &fields = options_.field_set_file;
    const std::optional<std::string> &counters = options_.counter_set_file;
    if (fields && !load_field_set(*fields, &filters->field_set)) return false;
    if (counters && !load_counter_set(*counters, &filters->counter_set)) return false;
    // With one set file alone, the other kind of data is taken whole or not at all.
    const bool take_unfiltered =
        options_.take_unfiltered_kind || (!filters->field_set && !filters->counter_set);
    filters->take_events = filters->field_set || take_unfiltered;
    filters->take_counters = filters->counter_set || take_unfiltered;
    return true;
}

bool SchemaLoader::load_all(const SchemaIds &ids, LoadedSchemas *schemas) const {
    Filters filters;
    if (!load_filters(&filters)) return false;
    schemas->takes_events = filters.take_events;
    schemas->takes_counters = filters.take_counters;
    schemas->type_system.reset(vrn_type_system_create());
    vrn_type_system_t *system = schemas->type_system.get();
    if (!system) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to create type system object: %s", std::strerror(errno));
        return false;
    }
    const bool has_events = !filters.take_events || load_events(ids, system, filters);
    // A file that can't show its events fails before its counters schema is looked for.
    if (!has_events && !options_.take_what_loads) return false;
    return (!filters.take_counters || load_counters_schema(system, ids.counters, filters)) &&
           has_events;
}

bool SchemaLoader::load_events(const SchemaIds &ids, vrn_type_system_t *system,
                               const Filters &filters) const {
    bool is_whole = true;
    for (std::size_t i = 0; i < ids.num_events; ++i) {
        if (load_event_schema(system, ids.events[i], filters)) continue;
        is_whole = false;
        if (!options_.take_what_loads) break;
        // An empty schema keeps the place, so that the indexes of those after it hold.
        if (!vrn_type_system_add_new_schema(system, nullptr, 0, nullptr)) break;
    }
    return is_whole;
}

// True also when the field set dropped the schema.
bool SchemaLoader::load_event_schema(vrn_type_system_t *system, const vrn_schema_id_t &id,
                                     const Filters &filters) const {
    const std::string path = path_of(id);
    bool parsed = false;
    const vrn_schema_t *schema = filters.field_set
                                     ? vrn_type_system_load_schema_file(
                                           system, path.c_str(), filters.field_set.get(), &parsed)
                                     : vrn_type_system_load_schema_file_all(system, path.c_str());
    if (schema || parsed) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load schema from file: %s", path.c_str());
    return false;
}

bool SchemaLoader::load_counters_schema(vrn_type_system_t *system, const vrn_schema_id_t &id,
                                        const Filters &filters) const {
    if (vrn_schema_id_is_zero(&id)) return true;
    const std::string path = path_of(id);
    // A new type system holds an empty one, by which no row is decoded.
    vrn_counters_schema_destroy(system->counters_schema);
    system->counters_schema =
        filters.counter_set ? vrn_counters_schema_from_file(path.c_str(), filters.counter_set.get())
                            : vrn_counters_schema_from_file_all(path.c_str());
    if (system->counters_schema) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to load counters schema from file: %s", path.c_str());
    return false;
}

bool SchemaLoader::lacks_files(const SchemaIds &ids) const {
    const auto is_missing = [&](const vrn_schema_id_t &id) {
        return !vrn_schema_id_is_zero(&id) && access(path_of(id).c_str(), F_OK) != 0;
    };
    return is_missing(ids.counters) ||
           std::any_of(ids.events, ids.events + ids.num_events, is_missing);
}

std::string SchemaLoader::path_of(const vrn_schema_id_t &id) const {
    return options_.folder + "/" + schema_file_name(id);
}

}  // namespace vrn::scan
