// On-disk blocks of a data file: kinds, layouts, and the operations on their headers.
// Byte layout: docs/format.md, "Blocks". Blocks are packed; copy a header out before use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "data/schema_id.h"

// Told from the fourth byte of a block alone.
enum vrn_block_type_t : std::uint32_t {
    VRN_COUNTERS_BLOCK = 0,
    VRN_EVENTS_BLOCK = 1,
    VRN_SCHEMAS_BLOCK = 2,
    VRN_BLOB_BLOCK = 3,
    VRN_UNKNOWN_BLOCK = 4,
    VRN_PAGE_BLOCK = 5,
    VRN_CNTX_BLOCK = 6,
};

#pragma pack(push, 1)
// Followed by `num_events` rows of the type's size.
struct vrn_event_header_t {
    char magic[4];
    std::uint64_t timestamp;
    std::uint8_t schema_index;
    std::uint16_t type_index;  // lookups use the low 8 bits
    std::uint8_t num_events;
};

struct vrn_block_header_t {
    char magic[4];
};

// Followed by the values of one row of the counters schema.
struct vrn_data_block_t {
    vrn_block_header_t header;
    std::uint32_t padding;
    std::uint64_t timestamp;
};

// Followed by `data_size` opaque bytes.
struct vrn_blob_block_t {
    vrn_block_header_t header;
    std::uint64_t timestamp;
    std::uint64_t data_size;
};

// Followed by `num_schema_ids` ids, in schema-index order.
struct vrn_schemas_block_t {
    char magic[4];
    std::uint16_t size;  // bytes the whole block takes
    std::uint16_t num_schema_ids;
    std::uint8_t reserved[8];
};
#pragma pack(pop)

static_assert(sizeof(vrn_event_header_t) == 16);
static_assert(offsetof(vrn_event_header_t, schema_index) == 12);
static_assert(offsetof(vrn_event_header_t, type_index) == 13);
static_assert(offsetof(vrn_event_header_t, num_events) == 15);
static_assert(sizeof(vrn_data_block_t) == 16);
static_assert(offsetof(vrn_data_block_t, timestamp) == 8);
static_assert(sizeof(vrn_blob_block_t) == 20);
static_assert(offsetof(vrn_blob_block_t, data_size) == 12);
static_assert(sizeof(vrn_schemas_block_t) == 16);
static_assert(offsetof(vrn_schemas_block_t, num_schema_ids) == 6);

// Ids a schemas block may hold, and the bytes that must remain from its first byte on.
inline constexpr std::size_t VRN_SCHEMAS_BLOCK_MAX_IDS = 14;
inline constexpr std::size_t VRN_SCHEMAS_BLOCK_MIN_BYTES = 256;

// Kind of the block at a pointer; reads only the byte at offset 3.
vrn_block_type_t vrn_block_type_of(const void *block);
const char *vrn_block_type_name(std::uint32_t kind);

// Stamps the magic of a kind on a block; unknown kinds write nothing.
void vrn_block_set_magic(void *block, std::uint32_t kind);

// Stamps magic, padding and the present time.
void vrn_data_block_init(vrn_data_block_t *block);
void vrn_blob_block_init(vrn_blob_block_t *block, std::uint64_t timestamp, std::uint64_t data_size);

void vrn_event_header_print(std::FILE *stream, const vrn_event_header_t *header);
void vrn_data_block_print(std::FILE *stream, const vrn_data_block_t *block);
void vrn_blob_block_print(std::FILE *stream, const vrn_blob_block_t *block);

// Print the layout of a record to standard output: name, offset and size of each field.
void vrn_event_header_print_fields();
void vrn_data_block_print_fields();
void vrn_blob_block_print_fields();
