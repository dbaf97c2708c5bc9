#include "counters/metadata.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "data/text/json_document.h"
#include "utils/file_ptr.h"
#include "utils/log.h"
#include "utils/string_template.h"
#include "utils/strings.h"

namespace {

// Path of the first metadata file that the folder gives, or null.
vrn::CString find_file(const char *folder_path) {
    const vrn::FolderPtr folder(opendir(folder_path));
    if (!folder) return nullptr;
    // The folder's own order decides among several.
    while (const dirent *entry = readdir(folder.get()))
        if (vrn_metadata_is_file_name(entry->d_name))
            return vrn::CString(vrn_format_string("%s/%s", folder_path, entry->d_name));
    return nullptr;
}

// The non-empty array that lists the counters, or null. parson passes null through each step.
const JSON_Array *find_counters(const JSON_Value *root) {
    const JSON_Object *content =
        json_object_get_object(json_value_get_object(root), "metadata_content");
    const JSON_Object *counters = json_object_get_object(content, "counters");
    // Deliberate: only the first element of the list counts.
    const JSON_Array *groups = json_object_get_array(counters, "name_match_labels");
    const JSON_Array *matches =
        json_object_get_array(json_array_get_object(groups, 0), "matches_and_labels");
    return json_array_get_count(matches) > 0 ? matches : nullptr;
}

// What follows a run of digits and its underscore; the whole name without such a prefix.
const char *skip_index_prefix(const char *name) {
    const std::size_t digits = std::strspn(name, "0123456789");
    return digits > 0 && name[digits] == '_' ? name + digits + 1 : name;
}

// Counts a label as soon as it may own something, so that a failed load frees it.
bool fill_labels(vrn_metadata_entry_t *entry, const JSON_Object *labels) {
    const std::size_t count = json_object_get_count(labels);
    if (count == 0) return true;
    entry->labels =
        static_cast<vrn_metadata_label_t *>(std::calloc(count, sizeof(vrn_metadata_label_t)));
    if (!entry->labels) return true;  // the entry stays, without labels
    for (std::size_t i = 0; i < count; ++i) {
        vrn_metadata_label_t *label = &entry->labels[entry->num_labels++];
        label->key = strdup(json_object_get_name(labels, i));
        // A value that is no text shows as an empty one.
        label->value =
            strdup(vrn_text_or_empty(json_value_get_string(json_object_get_value_at(labels, i))));
        if (!label->key || !label->value) return false;
    }
    return true;
}

bool fill_entry(vrn_metadata_entry_t *entry, const JSON_Object *match) {
    const char *name =
        vrn_text_or_empty(json_array_get_string(json_object_get_array(match, "pattern_match"), 0));
    entry->full_name = strdup(name);
    entry->short_name = strdup(skip_index_prefix(name));
    return entry->full_name && entry->short_name &&
           fill_labels(entry, json_object_get_object(match, "labels"));
}

vrn_metadata_t *build_list(const JSON_Array *matches) {
    const std::size_t count = json_array_get_count(matches);
    vrn_metadata_ptr list(static_cast<vrn_metadata_t *>(std::calloc(1, sizeof(vrn_metadata_t))));
    if (!list) return nullptr;
    list->entries =
        static_cast<vrn_metadata_entry_t *>(std::calloc(count, sizeof(vrn_metadata_entry_t)));
    if (!list->entries) return nullptr;
    for (std::size_t i = 0; i < count; ++i)
        if (!fill_entry(&list->entries[list->num_entries++], json_array_get_object(matches, i)))
            return nullptr;
    return list.release();  // to the caller
}

void clear_entry(const vrn_metadata_entry_t &entry) {
    std::free(entry.full_name);
    std::free(entry.short_name);
    for (std::int32_t i = 0; i < entry.num_labels; ++i) {
        std::free(entry.labels[i].key);
        std::free(entry.labels[i].value);
    }
    std::free(entry.labels);
}

}  // namespace

bool vrn_metadata_is_file_name(std::string_view name) {
    constexpr std::string_view start = "metadata_";
    constexpr std::string_view end = ".json";
    // Something must stand between the two.
    return name.size() > start.size() + end.size() && name.starts_with(start) &&
           name.ends_with(end);
}

vrn_metadata_t *vrn_metadata_load(const char *folder) {
    if (!folder) return nullptr;
    const vrn::CString path = find_file(folder);
    if (!path) {
        VRN_LOG(VRN_LOG_DEBUG, "No metadata JSON found in %s", folder);
        return nullptr;
    }
    VRN_LOG(VRN_LOG_DEBUG, "Loading metadata from %s", path.get());
    const vrn_json_value_ptr root = vrn_json_file_parse(path.get());
    if (!root) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to parse metadata JSON");
        return nullptr;
    }
    vrn_metadata_t *list = vrn_metadata_from_json(root.get());
    if (list)
        VRN_LOG(VRN_LOG_INFO, "Loaded metadata with %d entries from schema dir", list->num_entries);
    return list;
}

vrn_metadata_t *vrn_metadata_from_json(const JSON_Value *document) {
    const JSON_Array *matches = find_counters(document);
    return matches ? build_list(matches) : nullptr;
}

void vrn_metadata_free(vrn_metadata_t *metadata) {
    if (!metadata) return;
    for (std::int32_t i = 0; i < metadata->num_entries; ++i) clear_entry(metadata->entries[i]);
    std::free(metadata->entries);
    std::free(metadata);
}
