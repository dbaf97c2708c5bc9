#include "counters/counters_schema_json.h"

#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "data/selection/name_tables.h"
#include "data/text/json_document.h"
#include "data/text/json_value.h"
#include "data/version.h"
#include "utils/log.h"
#include "utils/strings.h"

namespace {

constexpr char document_title[] = "Varnel performance counters collector";

constexpr char schema_template[] = R"({"version" : "", "counter_groups" : []})";
constexpr char group_template[] =
    R"({"granularity" : "", "num_counters" : 0, "num_counter_sets" : 0, "counters" : []})";
constexpr char counter_template[] =
    R"({"name" : "", "description" : "", "units" : "", "data_type" : "", "counting_type" : ""})";

// Bounds on what a document can make of each row: a few bytes must not claim endless output. The
// texts, in bytes, leave room for escapes in a JSON text that parson counts in an int.
constexpr std::uint32_t max_counter_sets = 65536;
constexpr std::uint64_t max_repeated_values = 1048576;
constexpr std::uint64_t max_row_text = 256 << 20;

vrn_json_value_ptr counter_to_json(const vrn_counter_info_t *counter) {
    vrn_json_value_ptr value(json_value_init_object());
    JSON_Object *object = json_value_get_object(value.get());
    const bool written =
        vrn_json_set_text(object, "name", counter->name) &&
        vrn_json_set_text(object, "description", counter->description) &&
        vrn_json_set_text(object, "units", counter->units) &&
        vrn_json_set_text(object, "data_type",
                          vrn_value_to_name(vrn_counter_data_type_names, counter->data_type)) &&
        vrn_json_set_number(object, "length", counter->length) &&
        vrn_json_set_number(object, "offset", counter->offset) &&
        vrn_json_set_number(object, "hidden", counter->hidden) &&
        vrn_json_set_number(object, "mandatory", counter->mandatory) &&
        vrn_json_set_text(object, "counting_type",
                          vrn_value_to_name(vrn_counting_type_names, counter->counting_type)) &&
        vrn_json_set_text(object, "string_format",
                          vrn_value_to_name(vrn_string_format_names, counter->string_format)) &&
        vrn_json_set_number(object, "index", counter->index);
    return written ? std::move(value) : nullptr;
}

vrn_json_value_ptr group_to_json(const vrn_counter_group_t *group) {
    vrn_json_value_ptr value(json_value_init_object());
    JSON_Object *object = json_value_get_object(value.get());
    const char *name = group->name;
    if (!name && group->provider_hooks) name = group->provider_hooks->name;
    const bool written =
        vrn_json_set_text(object, "granularity", vrn_counter_group_granularity_name(group)) &&
        (!name || vrn_json_set_text(object, "name", name)) &&
        (!group->provider || vrn_json_set_text(object, "provider", group->provider)) &&
        vrn_json_set_number(object, "num_counter_sets", group->num_counter_sets) &&
        vrn_json_set_number(object, "num_counters", group->num_counters);
    if (!written) return nullptr;
    JSON_Array *counters = vrn_json_add_array(object, "counters");
    if (!counters) return nullptr;
    for (std::uint32_t i = 0; i < group->num_counters; ++i)
        if (!vrn_json_append(counters, counter_to_json(group->counters[i]))) return nullptr;
    return value;
}

// Appends the groups' objects; false after an error line.
bool append_groups(JSON_Array *array, const vrn_counters_schema_t *schema) {
    for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
        vrn_json_value_ptr group = group_to_json(schema->groups[i]);
        if (!group) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to JSONify counter group #%d", static_cast<int>(i));
            return false;
        }
        if (!vrn_json_append(array, std::move(group))) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to append JSON array with counter group #%d",
                    static_cast<int>(i));
            return false;
        }
    }
    return true;
}

bool matches(const JSON_Value *value, const char *template_text) {
    const vrn_json_value_ptr wanted = vrn_json_template_parse(template_text);
    return wanted && json_validate(wanted.get(), value) == JSONSuccess;
}

// Null, after an error line, unless `value` has the keys and types of the template.
const JSON_Object *required_object(const JSON_Value *value, const char *template_text) {
    if (matches(value, template_text)) return json_value_get_object(value);
    VRN_LOG(VRN_LOG_ERROR, "JSON does not match schema '%s'", template_text);
    return nullptr;
}

bool get_u32(const JSON_Object *object, const char *key, std::uint32_t *out) {
    std::uint64_t number = 0;
    if (!vrn_json_number_to_uint(object, key, UINT32_MAX, &number)) return false;
    *out = static_cast<std::uint32_t>(number);
    return true;
}

// Copies the text under `key`, if there is one; false when out of memory.
bool copy_string(const JSON_Object *object, const char *key, char **to) {
    return vrn_copy_text(json_object_get_string(object, key), to);
}

std::uint32_t get_id(const JSON_Object *object, const char *key, const vrn_name_value_t *table) {
    return vrn_name_to_value(table, json_object_get_string(object, key));
}

std::uint32_t get_string_format(const JSON_Object *object) {
    // Deliberate: a missing format is the default one, an unknown one is all ones.
    if (!json_object_get_string(object, "string_format")) return VRN_STRING_DEFAULT;
    return get_id(object, "string_format", vrn_string_format_names);
}

vrn_counter_info_ptr counter_from_json(const JSON_Value *value) {
    // Deliberate: a counter that fails has no line of its own.
    if (!matches(value, counter_template)) return nullptr;
    const JSON_Object *object = json_value_get_object(value);
    vrn_counter_info_ptr counter(
        static_cast<vrn_counter_info_t *>(std::calloc(1, sizeof(vrn_counter_info_t))));
    if (!counter) return nullptr;
    if (!copy_string(object, "name", &counter->name) ||
        !copy_string(object, "description", &counter->description) ||
        !copy_string(object, "units", &counter->units))
        return nullptr;

    counter->data_type = get_id(object, "data_type", vrn_counter_data_type_names);
    counter->counting_type = get_id(object, "counting_type", vrn_counting_type_names);
    counter->string_format = get_string_format(object);
    // Written as numbers; any but 0 counts.
    counter->hidden = json_object_get_number(object, "hidden") != 0;
    counter->mandatory = json_object_get_number(object, "mandatory") != 0;
    std::uint32_t index = 0;
    if (!get_u32(object, "length", &counter->length) ||
        !get_u32(object, "offset", &counter->offset) || !get_u32(object, "index", &index))
        return nullptr;
    counter->index = static_cast<std::uint8_t>(index);  // its low 8 bits
    return counter;
}

bool is_wanted(const vrn_counter_info_t *counter, const vrn_provider_counter_set_t *counter_set) {
    if (!counter_set || vrn_provider_counter_set_should_include_counter(counter_set, counter->name))
        return true;
    VRN_LOG(VRN_LOG_DEBUG,
            "Skipping counter '%s' as it is not included in the provided counter set",
            counter->name);
    return false;
}

bool read_counters(vrn_counter_group_t *group, const JSON_Array *array,
                   const vrn_provider_counter_set_t *counter_set) {
    const std::size_t count = json_array_get_count(array);
    if (count == 0) return true;
    group->counters = static_cast<vrn_counter_info_t **>(std::calloc(count, sizeof(void *)));
    if (!group->counters) return false;
    for (std::size_t i = 0; i < count; ++i) {
        vrn_counter_info_ptr counter = counter_from_json(json_array_get_value(array, i));
        if (!counter) return false;
        if (!is_wanted(counter.get(), counter_set)) continue;
        group->counters[group->num_counters++] = counter.release();  // to the group
    }
    return true;
}

vrn_counter_group_ptr group_from_json(const JSON_Value *value,
                                      const vrn_provider_counter_set_t *counter_set) {
    const JSON_Object *object = required_object(value, group_template);
    if (!object) return nullptr;
    vrn_counter_group_ptr group(
        static_cast<vrn_counter_group_t *>(std::calloc(1, sizeof(vrn_counter_group_t))));
    if (!group) return nullptr;
    group->granularity = get_id(object, "granularity", vrn_granularity_names);
    if (!copy_string(object, "name", &group->name) ||
        !copy_string(object, "provider", &group->provider) ||
        !get_u32(object, "num_counter_sets", &group->num_counter_sets) ||
        !read_counters(group.get(), json_object_get_array(object, "counters"), counter_set))
        return nullptr;
    return group;
}

bool read_groups(vrn_counters_schema_t *schema, const JSON_Array *array,
                 const vrn_provider_counter_set_t *counter_set) {
    for (std::size_t i = 0; i < json_array_get_count(array); ++i) {
        const JSON_Value *element = json_array_get_value(array, i);
        if (!element) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to get item #%d from groups array", static_cast<int>(i));
            return false;
        }
        vrn_counter_group_ptr group = group_from_json(element, counter_set);
        if (!group) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to decode counter group from JSON");
            return false;
        }
        // Deliberate: only a filter drops empty groups, a document may bring its own.
        if (counter_set && group->num_counters == 0) {
            VRN_LOG(VRN_LOG_DEBUG,
                    "No counters found in the counter group after filtering by counter set");
            continue;
        }
        schema->groups[schema->num_groups++] = group.release();  // to the schema
    }
    return true;
}

// Deliberate: unlike that of an event schema, this version refuses nothing.
void check_version(const char *version) {
    if (!vrn_version_text_is_compatible(version, VRN_SCHEMA_VERSION_TEXT))
        VRN_LOG(VRN_LOG_ERROR,
                "Version '%s' of parsing schema is incompatible with current schema version '%s'",
                version, VRN_SCHEMA_VERSION_TEXT);
}

// Texts that a row of the group can hold, names included, up to just above the bound.
std::uint64_t row_text_of(const vrn_counter_group_t *group) {
    std::uint64_t bytes = 0;
    for (std::uint32_t i = 0; i < group->num_counters && bytes <= max_row_text; ++i) {
        const vrn_counter_info_t *counter = group->counters[i];
        bytes += std::strlen(counter->name);
        if (counter->data_type == VRN_DATA_STRING) bytes += counter->length;
    }
    return bytes * group->num_counter_sets;
}

// False after one error line when a row's output could grow without reason.
bool is_bounded(const vrn_counters_schema_t *schema) {
    std::uint64_t repeated_values = 0;
    std::uint64_t row_text = 0;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
        const vrn_counter_group_t *group = schema->groups[i];
        const std::uint64_t sets = group->num_counter_sets;
        if (sets > max_counter_sets) {
            VRN_LOG(VRN_LOG_ERROR, "Counter group #%d has %" PRIu64 " counter sets, more than %u",
                    static_cast<int>(i), sets, max_counter_sets);
            return false;
        }
        // A repeat without counters makes output, too.
        if (sets > 1) repeated_values += sets * (group->num_counters + (group->num_counters == 0));
        row_text += row_text_of(group);
        if (repeated_values > max_repeated_values) {
            VRN_LOG(VRN_LOG_ERROR, "Counter sets expand to more than %" PRIu64 " values",
                    max_repeated_values);
            return false;
        }
        if (row_text > max_row_text) {
            VRN_LOG(VRN_LOG_ERROR, "Counters expand to more than %" PRIu64 " bytes of text",
                    max_row_text);
            return false;
        }
    }
    return true;
}

}  // namespace

JSON_Value *vrn_counters_schema_jsonify(const vrn_counters_schema_t *schema) {
    vrn_json_value_ptr value(json_value_init_object());
    if (!value) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] json_value_init_object() failed", __func__);
        return nullptr;
    }
    JSON_Object *object = json_value_get_object(value.get());
    if (!object) {
        VRN_LOG(VRN_LOG_ERROR, "[%s] json_value_get_object() failed", __func__);
        return nullptr;
    }
    if (!vrn_json_set_text(object, "title", document_title) ||
        !vrn_json_set_text(object, "version", VRN_SCHEMA_VERSION_TEXT))
        return nullptr;
    JSON_Array *groups = vrn_json_add_array(object, "counter_groups");
    if (!groups || !append_groups(groups, schema)) return nullptr;
    return value.release();
}

char *vrn_counters_schema_to_string(const vrn_counters_schema_t *schema) {
    const vrn_json_value_ptr value(vrn_counters_schema_jsonify(schema));
    if (!value) {
        // The odd word is part of the text, deliberately; below, too.
        VRN_LOG(VRN_LOG_ERROR, "Failed to JSONify counters schemaector schema");
        return nullptr;
    }
    char *text = json_serialize_to_string_pretty(value.get());
    if (!text) VRN_LOG(VRN_LOG_ERROR, "Failed to serialize JSON counters schemaector schema");
    return text;
}

void vrn_counters_schema_print(const vrn_counters_schema_t *schema, std::FILE *stream) {
    const vrn_json_text_ptr text(vrn_counters_schema_to_string(schema));
    if (!text) return;
    std::fprintf(stream, "%s\n", text.get());
    std::fflush(stream);
}

vrn_counters_schema_t *vrn_counters_schema_from_json(
    const JSON_Value *value, const vrn_provider_counter_set_t *counter_set) {
    const JSON_Object *object = required_object(value, schema_template);
    if (!object) return nullptr;
    check_version(json_object_get_string(object, "version"));

    vrn_counters_schema_ptr schema(vrn_counters_schema_create());
    if (!schema) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate schema object: %s", std::strerror(errno));
        return nullptr;
    }
    const JSON_Array *groups = json_object_get_array(object, "counter_groups");
    if (!groups) {
        VRN_LOG(VRN_LOG_ERROR, "Schema JSON is missing counter groups information");
        return nullptr;
    }
    // One place more, as an empty allocation may be null.
    schema->groups = static_cast<vrn_counter_group_t **>(
        std::calloc(json_array_get_count(groups) + 1, sizeof(void *)));
    if (!schema->groups) {
        VRN_LOG(VRN_LOG_ERROR, "Failed to allocate counter groups array: %s", std::strerror(errno));
        return nullptr;
    }
    if (!read_groups(schema.get(), groups, counter_set) || !is_bounded(schema.get()))
        return nullptr;
    // Deliberate: the offsets of the document don't count, so a filtered schema describes rows of
    // just the counters that stayed.
    vrn_counters_schema_update_counter_offsets(schema.get());
    schema->size = vrn_counters_schema_size_of_counters(schema.get());
    return schema.release();
}

vrn_counters_schema_t *vrn_counters_schema_from_string(const char *text) {
    const vrn_json_value_ptr value(json_parse_string(text));
    if (!value) {
        VRN_LOG(VRN_LOG_ERROR, "Failed parsing counters schema JSON from string");
        return nullptr;
    }
    return vrn_counters_schema_from_json(value.get(), nullptr);
}

vrn_counters_schema_t *vrn_counters_schema_from_file(
    const char *path, const vrn_provider_counter_set_t *counter_set) {
    // A document that parson can't parse leaves errno alone.
    errno = 0;
    const vrn_json_value_ptr value = vrn_json_file_parse(path);
    if (!value) {
        VRN_LOG(VRN_LOG_ERROR, "Failed reading counters schema JSON from file '%s': %s", path,
                std::strerror(errno));
        return nullptr;
    }
    vrn_counters_schema_t *schema = vrn_counters_schema_from_json(value.get(), counter_set);
    if (!schema)
        VRN_LOG(VRN_LOG_ERROR, "Failed to parse JSON into counters schema for file '%s'.", path);
    return schema;
}

vrn_counters_schema_t *vrn_counters_schema_from_file_all(const char *path) {
    return vrn_counters_schema_from_file(path, nullptr);
}

vrn_counters_schema_t *vrn_counters_schema_load_by_id(const vrn_schema_id_t *id,
                                                      const char *directory) {
    if (!id || vrn_schema_id_is_zero(id)) return nullptr;
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(id, hex);
    char *raw = nullptr;
    if (asprintf(&raw, "%s/schema_%s.json", directory, hex) < 0) {
        VRN_LOG(VRN_LOG_ERROR, "asprintf failed");
        return nullptr;
    }
    const vrn::CString path(raw);
    VRN_LOG(VRN_LOG_DEBUG, "opening counters schema: %s\n", path.get());
    vrn_counters_schema_t *schema = vrn_counters_schema_from_file_all(path.get());
    if (!schema) VRN_LOG(VRN_LOG_DEBUG, "Failed to load counters schema from file: %s", path.get());
    return schema;
}
