// Names and labels that enrich counters output, from a metadata file beside the schemas.
#pragma once

#include <parson.h>

#include <cstdint>
#include <string_view>

#include "utils/c_ptr.h"

struct vrn_metadata_label_t {
    char *key;    // owned
    char *value;  // owned
};

struct vrn_metadata_entry_t {
    char *full_name;               // owned
    char *short_name;              // owned; without its index prefix
    vrn_metadata_label_t *labels;  // owned, in file order; may be null
    std::int32_t num_labels;
};

struct vrn_metadata_t {
    vrn_metadata_entry_t *entries;  // owned
    std::int32_t num_entries;
};

void vrn_metadata_free(vrn_metadata_t *metadata);  // accepts null
using vrn_metadata_ptr = vrn::CPtr<vrn_metadata_t, vrn_metadata_free>;

// metadata_<anything>.json, without its folder.
[[nodiscard]] bool vrn_metadata_is_file_name(std::string_view name);
// The list in the first metadata file of `folder`; null simply means no enrichment.
[[nodiscard]] vrn_metadata_t *vrn_metadata_load(const char *folder);
// The list in a metadata document; null without a line when there is none.
[[nodiscard]] vrn_metadata_t *vrn_metadata_from_json(const JSON_Value *document);
