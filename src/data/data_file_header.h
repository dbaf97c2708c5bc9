// The 256 bytes at the start of a data file. Byte layout: docs/format.md, "File header".
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "data/schema_id.h"
#include "utils/c_ptr.h"

inline constexpr std::size_t VRN_EVENT_SCHEMA_IDS = 7;

#pragma pack(push, 1)
struct vrn_file_version_t {
    std::uint8_t major;
    std::uint8_t minor;
    std::uint16_t patch;
};

struct vrn_data_file_header_t {
    char magic[4];  // "VRNF"
    vrn_file_version_t version;
    std::uint64_t file_size;  // bytes, header included; kept up to date by the writer
    char source_id[64];
    char source_tag[16];
    std::uint64_t first_timestamp;
    std::uint64_t last_timestamp;
    std::uint32_t block_size;            // bytes of a chunk
    vrn_schema_id_t counters_schema_id;  // all zero when none
    vrn_schema_id_t event_schema_ids[VRN_EVENT_SCHEMA_IDS];
    std::uint8_t byte_order;  // 0 is little-endian; informative only
    std::uint8_t padding[7];
    char magic_end[4];  // "vrnf"
};
#pragma pack(pop)

static_assert(sizeof(vrn_data_file_header_t) == 256);
static_assert(offsetof(vrn_data_file_header_t, block_size) == 112);
static_assert(offsetof(vrn_data_file_header_t, counters_schema_id) == 116);
static_assert(offsetof(vrn_data_file_header_t, byte_order) == 244);
static_assert(offsetof(vrn_data_file_header_t, magic_end) == 252);

// A zeroed header with magics, version and a `file_size` of 256; the caller frees it. Null: out of
// memory.
[[nodiscard]] vrn_data_file_header_t *vrn_data_file_header_create();
using vrn_data_file_header_ptr = vrn::CPtr<vrn_data_file_header_t, std::free>;

// Checks magic, version and `file_size`.
bool vrn_data_file_header_is_valid(const vrn_data_file_header_t *header);

// vrn_data_file_header_is_valid with a line that tells what is wrong.
[[nodiscard]] bool vrn_data_file_header_validate(const vrn_data_file_header_t *header);

void vrn_data_file_header_print(std::FILE *stream, const vrn_data_file_header_t *header);
void vrn_data_file_header_print_fields();

// Text of `event_schema_ids[index]`, freed by the caller; null when `index` is above 6.
char *vrn_data_file_header_schema_id_hex(const vrn_data_file_header_t *header, std::size_t index);
