#include "utils/hca_info.h"

#include <md5.h>
#include <parson.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

#include "utils/byte_reader.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace {

struct GuidField {
    const char *name;
    char (vrn_hca_info_t::*guid)[VRN_HCA_GUID_SIZE];
};

// In the order of the record, which is that of the document.
constexpr GuidField guid_fields[] = {
    {"node_guid", &vrn_hca_info_t::node_guid},
    {"system_image_guid", &vrn_hca_info_t::system_image_guid},
    {"port_1_guid", &vrn_hca_info_t::port_1_guid},
    {"port_2_guid", &vrn_hca_info_t::port_2_guid},
};

bool is_empty(const vrn_hca_info_t &entry) {
    return entry.hca_name[0] == 0;
}

// The entries before the first empty one.
std::size_t leading_entries(const vrn_hca_info_t *array, int count) {
    const vrn_hca_info_t *end = array + std::max(count, 0);
    return static_cast<std::size_t>(std::find_if(array, end, is_empty) - array);
}

void print_field(std::FILE *stream, int index, const char *name, const char *field, int width) {
    std::fprintf(stream, "info[%d].%-17s = %.*s\n", index, name, width, field);
}

void set_guid(JSON_Object *root, const vrn_hca_info_t &entry, const GuidField &field) {
    const std::string_view name = vrn::field_text(entry.hca_name);
    char key[100];
    std::snprintf(key, sizeof key, "%.*s.%s", static_cast<int>(name.size()), name.data(),
                  field.name);
    char guid[VRN_HCA_GUID_SIZE + 1];
    std::snprintf(guid, sizeof guid, "%.*s", static_cast<int>(VRN_HCA_GUID_SIZE),
                  entry.*field.guid);
    if (json_object_dotset_string(root, key, guid) != JSONSuccess)
        VRN_LOG(VRN_LOG_ERROR, "HCA info: unable to set '%s' field", field.name);
}

void set_entry(JSON_Object *root, const vrn_hca_info_t &entry) {
    for (const GuidField &field : guid_fields) {
        // An adapter without a second port has no member for it.
        const bool is_optional = field.guid == &vrn_hca_info_t::port_2_guid;
        if (is_optional && entry.port_2_guid[0] == 0) continue;
        set_guid(root, entry, field);
    }
}

}  // namespace

void vrn_hca_info_print(std::FILE *stream, const vrn_hca_info_t *array, int count) {
    for (int i = 0; i < count; ++i) {
        if (is_empty(array[i])) continue;
        print_field(stream, i, "hca_name", array[i].hca_name, VRN_HCA_NAME_SIZE);
        for (const GuidField &field : guid_fields)
            print_field(stream, i, field.name, array[i].*field.guid, VRN_HCA_GUID_SIZE);
    }
}

bool vrn_hca_info_to_json(const std::uint64_t *timestamp, const vrn_hca_info_t *array, int count,
                          char **text, std::size_t *size) {
    const vrn::CPtr<JSON_Value, json_value_free> document(json_value_init_object());
    if (!document) {
        VRN_LOG(VRN_LOG_ERROR, "HCA info: unable to allocate json value");
        return false;
    }
    JSON_Object *root = json_value_get_object(document.get());
    if (!root) {
        VRN_LOG(VRN_LOG_ERROR, "HCA info: unable to get json object");
        return false;
    }
    if (timestamp &&
        // A member that can't be set is left out: a document with less is better than none.
        json_object_set_number(root, "timestamp", static_cast<double>(*timestamp)) != JSONSuccess)
        VRN_LOG(VRN_LOG_ERROR, "HCA info: unable to set 'timestamp' field");
    for (const vrn_hca_info_t &entry : std::span(array, leading_entries(array, count)))
        set_entry(root, entry);
    char *serialized = json_serialize_to_string(document.get());
    if (!serialized) {
        VRN_LOG(VRN_LOG_ERROR, "HCA info: unable serialize json to string");
        return false;
    }
    *text = serialized;  // to the caller
    *size = std::strlen(serialized);
    return true;
}

void vrn_hca_info_free_json(char *text) {
    json_free_serialized_string(text);
}

void vrn_hca_info_digest(const vrn_hca_info_t *array, int count, std::uint8_t *digest) {
    MD5_CTX context;
    MD5Init(&context);
    // Entries after the first empty one may hold stale bytes and play no part.
    MD5Update(&context, reinterpret_cast<const std::uint8_t *>(array),
              leading_entries(array, count) * sizeof *array);
    MD5Final(digest, &context);
}
