// The node information file: a small JSON document beside the data that names the node's HCAs.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "data/data_page.h"
#include "utils/c_ptr.h"
#include "utils/hca_info.h"

// State of one folder of data. A new record is ready for use.
struct vrn_nodeinfo_t {
    std::string dir;                               // last written to
    vrn::CPtr<char, vrn_hca_info_free_json> json;  // the serialized document, or null
    std::uint64_t json_size = 0;
    std::uint64_t timestamp = 0;                   // first timestamp of the page it came from
    std::uint8_t hca_digest[VRN_HCA_DIGEST_SIZE];  // of the HCAs it describes

    vrn_nodeinfo_t() { std::ranges::fill(hca_digest, std::uint8_t{0xFF}); }
};

// Both put a record into its first state; clear tells that its content is no longer needed.
void vrn_nodeinfo_init(vrn_nodeinfo_t *state);
void vrn_nodeinfo_clear(vrn_nodeinfo_t *state);

// Writes a document below `dir` when the HCAs of `page` or the folder differ from the last call.
// Failure is logged and has no other effect. `page` is a private page: of a shared one, pass its
// snapshot.
void vrn_nodeinfo_update(vrn_nodeinfo_t *state, const char *dir, const vrn_data_page_t *page);
