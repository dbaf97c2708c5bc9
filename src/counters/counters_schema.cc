#include "counters/counters_schema.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>

#include "counters/counter_value.h"
#include "utils/log.h"

namespace {

std::span<vrn_counter_group_t *const> groups_of(const vrn_counters_schema_t *schema) {
    return {schema->groups, schema->num_groups};
}

std::span<vrn_counter_info_t *const> counters_of(const vrn_counter_group_t *group) {
    return {group->counters, group->num_counters};
}

// What a counter adds to the offset of the next one. Deliberate: a plain counter takes its `length`
// here when it has one, but 8 bytes in the size of the row.
std::uint32_t step_of(const vrn_counter_info_t &counter) {
    switch (counter.data_type) {
        case VRN_DATA_STRING:
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return vrn::counter_size(counter);
        default:
            return counter.length != 0 ? counter.length : vrn::counter_size(counter);
    }
}

// First group of `schema`, made when there is none; null after an error line.
vrn_counter_group_t *first_group(vrn_counters_schema_t *schema, const char *group_name) {
    if (schema->num_groups > 0) return schema->groups[0];
    vrn_counter_group_ptr group(vrn_counter_group_create(group_name, nullptr));
    if (!group) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to create default counter group");
        return nullptr;
    }
    if (!vrn_counters_schema_add_group(schema, group.get())) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to append default counter group to schema");
        return nullptr;
    }
    return group.release();  // to the schema
}

}  // namespace

vrn_counters_schema_t *vrn_counters_schema_create() {
    auto *schema =
        static_cast<vrn_counters_schema_t *>(std::calloc(1, sizeof(vrn_counters_schema_t)));
    if (!schema) VRN_LOG(VRN_LOG_ERROR, "failed to allocate schema");
    return schema;
}

void vrn_counters_schema_destroy(vrn_counters_schema_t *schema) {
    if (!schema) return;
    for (vrn_counter_group_t *group : groups_of(schema)) vrn_free_counter_group(group);
    std::free(schema->groups);
    std::free(schema);
}

bool vrn_counters_schema_has_all_texts(const vrn_counters_schema_t *schema) {
    if (!schema) return true;
    for (const vrn_counter_group_t *group : groups_of(schema)) {
        if (!group->name || !group->provider) return false;
        for (const vrn_counter_info_t *counter : counters_of(group))
            if (!counter->name || !counter->description || !counter->units) return false;
    }
    return true;
}

bool vrn_counters_schema_add_group(vrn_counters_schema_t *schema, vrn_counter_group_t *group) {
    const std::size_t count = static_cast<std::size_t>(schema->num_groups) + 1;
    void *larger = std::realloc(schema->groups, count * sizeof(void *));
    if (!larger) {
        VRN_LOG(VRN_LOG_ERROR, "Failed allocating memory for %d's group: %s",
                static_cast<int>(count), std::strerror(errno));
        return false;
    }
    schema->groups = static_cast<vrn_counter_group_t **>(larger);
    schema->groups[schema->num_groups++] = group;
    return true;
}

bool vrn_counters_schema_add_counters(vrn_counters_schema_t *schema,
                                      const vrn_counter_info_t *counters, std::size_t count,
                                      const char *group_name) {
    if (!schema || !counters || count == 0 || !group_name || !*group_name) return false;
    vrn_counter_group_t *group = first_group(schema, group_name);
    if (!group) return false;
    for (std::size_t i = 0; i < count; ++i) {
        if (!vrn_counter_group_add_counter(group, &counters[i])) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to add counter %zu to group", i);
            return false;
        }
    }
    // Deliberate: offsets stay; whoever wants them assigns them after the last counter.
    schema->size = vrn_counters_schema_size_of_counters(schema);
    return true;
}

// Deliberate: the number of sets doesn't enter, since all sets are made from the same values.
std::uint32_t vrn_counters_schema_size_of_counters(const vrn_counters_schema_t *schema) {
    std::uint32_t size = 0;
    for (const vrn_counter_group_t *group : groups_of(schema)) {
        VRN_LOG(VRN_LOG_DEBUG, "%s group %s has %d counter sets", __func__,
                group->name ? group->name : "(null)", static_cast<int>(group->num_counter_sets));
        for (const vrn_counter_info_t *counter : counters_of(group))
            size += vrn::counter_size(*counter);
    }
    // The spare letter is part of the text, deliberately.
    VRN_LOG(VRN_LOG_DEBUG, "%s returning %d d", __func__, static_cast<int>(size));
    return size;
}

std::uint32_t vrn_counters_schema_number_of_counters(const vrn_counters_schema_t *schema) {
    std::uint32_t count = 0;
    for (const vrn_counter_group_t *group : groups_of(schema)) {
        if (group->num_counter_sets != 1) {
            VRN_LOG(VRN_LOG_ERROR, "[%s] num_counter_sets should be 1, not %d", __func__,
                    static_cast<int>(group->num_counter_sets));
            return 0;
        }
        count += group->num_counters;
    }
    return count;
}

std::uint64_t vrn_counters_schema_number_of_values(const vrn_counters_schema_t *schema) {
    std::uint64_t count = 0;
    // Deliberate: unlike the number of counters, this minds no repeats.
    for (const vrn_counter_group_t *group : groups_of(schema))
        count += static_cast<std::uint64_t>(group->num_counters) * group->num_counter_sets;
    return count;
}

void vrn_counters_schema_update_counter_offsets(vrn_counters_schema_t *schema) {
    std::uint32_t offset = 0;
    for (const vrn_counter_group_t *group : groups_of(schema)) {
        for (vrn_counter_info_t *counter : counters_of(group)) {
            const std::uint32_t step = step_of(*counter);
            // A STRING without a length would share its bytes with the next counter.
            // Deliberate: those after it keep the offsets that they had.
            if (step == 0) {
                VRN_LOG(VRN_LOG_ERROR, "[%s] Fail: received 0 length string counter %s", __func__,
                        counter->name);
                return;
            }
            counter->offset = offset;
            VRN_LOG(VRN_LOG_DEBUG, "[schema] Set up counter %s  size=%d  offset=%d", counter->name,
                    static_cast<int>(counter->length), static_cast<int>(counter->offset));
            offset += step;
        }
    }
}

vrn_counter_info_t *vrn_counters_schema_find_counter(const vrn_counters_schema_t *schema,
                                                     const char *name) {
    for (const vrn_counter_group_t *group : groups_of(schema))
        for (vrn_counter_info_t *counter : counters_of(group))
            if (std::strcmp(counter->name, name) == 0) return counter;
    return nullptr;
}
