#include "counters/metadata_enrich.h"

#include <cstring>
#include <span>
#include <utility>

#include "data/text/json_value.h"
#include "utils/log.h"

namespace {

// In spite of its name in the file, a pattern is compared as it stands. The first one counts.
const vrn_metadata_entry_t *find_entry(const vrn_metadata_t *metadata, const char *name) {
    const std::span entries(metadata->entries, static_cast<std::size_t>(metadata->num_entries));
    for (const vrn_metadata_entry_t &entry : entries)
        if (std::strcmp(entry.full_name, name) == 0) return &entry;
    return nullptr;
}

// Whatever fails below is told and left out: a row without some labels is better than none.
void append(JSON_Value *array, vrn_json_value_ptr value) {
    if (!vrn_json_append(json_array(array), std::move(value)))
        VRN_LOG(VRN_LOG_ERROR, "metadata_enrich: json_array_append_value failed");
}

void set_member(JSON_Value *object, const char *name, vrn_json_value_ptr value) {
    if (!vrn_json_set(json_object(object), name, std::move(value)))
        VRN_LOG(VRN_LOG_ERROR, "metadata_enrich: json_object_set_value failed");
}

void replace_element(JSON_Array *array, std::size_t index, vrn_json_value_ptr value) {
    if (json_array_replace_value(array, index, value.get()) == JSONSuccess)
        static_cast<void>(value.release());  // to the array
    else
        VRN_LOG(VRN_LOG_ERROR, "metadata_enrich: json_array_replace_value failed");
}

// Object of an entry's labels; empty without an entry.
vrn_json_value_ptr labels_of(const vrn_metadata_entry_t *entry) {
    vrn_json_value_ptr labels(json_value_init_object());
    if (!entry) return labels;
    for (std::int32_t i = 0; i < entry->num_labels; ++i)
        json_object_set_string(json_object(labels.get()), entry->labels[i].key,
                               entry->labels[i].value);
    return labels;
}

// {"name": [value, labels]}
vrn_json_value_ptr enriched_counter(const char *name, const JSON_Value *value,
                                    const vrn_metadata_t *metadata) {
    const vrn_metadata_entry_t *entry = find_entry(metadata, name);
    vrn_json_value_ptr pair(json_value_init_array());
    append(pair.get(), vrn_json_value_ptr(json_value_deep_copy(value)));
    append(pair.get(), labels_of(entry));
    vrn_json_value_ptr counter(json_value_init_object());
    // A counter that the file doesn't list keeps its index prefix.
    set_member(counter.get(), entry ? entry->short_name : name, std::move(pair));
    return counter;
}

vrn_json_value_ptr enriched_set(const JSON_Object *set, const vrn_metadata_t *metadata) {
    vrn_json_value_ptr counters(json_value_init_array());
    for (std::size_t i = 0; i < json_object_get_count(set); ++i)
        append(counters.get(), enriched_counter(json_object_get_name(set, i),
                                                json_object_get_value_at(set, i), metadata));
    return counters;
}

void enrich_group(JSON_Object *group, const vrn_metadata_t *metadata) {
    JSON_Array *sets = json_object_get_array(group, "counter_sets");
    if (!sets) return;
    for (std::size_t i = 0; i < json_array_get_count(sets); ++i)
        if (const JSON_Object *set = json_array_get_object(sets, i))
            replace_element(sets, i, enriched_set(set, metadata));
    // Each counter has its own now.
    json_object_remove(group, "labels");
}

}  // namespace

JSON_Value *vrn_metadata_enrich(JSON_Value *value, const vrn_metadata_t *metadata) {
    if (!value || !metadata) return value;
    const JSON_Array *groups = json_object_get_array(json_value_get_object(value), "groups");
    for (std::size_t i = 0; i < json_array_get_count(groups); ++i)
        enrich_group(json_array_get_object(groups, i), metadata);
    return value;
}
