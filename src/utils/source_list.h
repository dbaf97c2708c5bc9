// Lists of sources, and the texts that specify them.
#pragma once

#include <cstdint>

#include "utils/c_ptr.h"
#include "utils/source.h"

inline constexpr std::uint16_t VRN_SOURCE_LIST_MAX = 65534;
inline constexpr std::uint16_t VRN_SOURCE_NOT_FOUND = 65535;

struct vrn_source_list_t {
    std::uint16_t count;
    vrn_source_t **items;  // `count` owned records, on a block that doubles
};

[[nodiscard]] vrn_source_list_t *vrn_source_list_create();  // empty; null: out of memory
void vrn_source_list_free(vrn_source_list_t *list);         // and every item; accepts null
using vrn_source_list_ptr = vrn::CPtr<vrn_source_list_t, vrn_source_list_free>;

// Appends `source` and owns it from then on. False, with `source` left to the caller, for null, at
// VRN_SOURCE_LIST_MAX items, or out of memory.
[[nodiscard]] bool vrn_source_list_add(vrn_source_list_t *list, vrn_source_t *source);

// Index of the very record `source` (not of an equal one), or VRN_SOURCE_NOT_FOUND.
std::uint16_t vrn_source_list_index_of(const vrn_source_list_t *list, const vrn_source_t *source);

// Logs each item at level 7 as "name[index] = source".
void vrn_source_list_print(const vrn_source_list_t *list, const char *name);

// A list of the one source vrn_source_create_default(tag) gives; null when there is none.
[[nodiscard]] vrn_source_list_t *vrn_source_list_create_default(const char *tag);

// The sources that `text` specifies, all with an empty tag, in order, repeats kept. When a file of
// that name exists: the names in parentheses of a fabscan file (one that holds "H-" or "S-"), or
// the lines of a text file. Otherwise a range. A pipe, of which this reads up to 10,485,760 bytes,
// is a file too. Null after a line, also for folders and devices, and when out of memory.
[[nodiscard]] vrn_source_list_t *vrn_source_list_from_spec(const char *text);

// The sources NAME_1 to NAME_N of "N", NAME_A to NAME_B of "A-B", both of the name that
// vrn_source_get_id gives, or PREFIX_A to PREFIX_B of "PREFIX[A-B]"; what follows the "]" is not
// looked at. Null after one line for any other text.
[[nodiscard]] vrn_source_list_t *vrn_source_list_from_range(const char *text);
