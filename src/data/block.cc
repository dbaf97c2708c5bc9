#include "data/block.h"

#include <array>
#include <cstring>

#include "data/layout_print.h"
#include "data/magic.h"
#include "data/time.h"

namespace {

// Kinds by the fourth byte of a magic, counted from 'B'.
constexpr char first_letter = VRN_MAGIC_BLOB;
constexpr auto kinds_by_letter = [] {
    std::array<vrn_block_type_t, 23> kinds{};
    kinds.fill(VRN_UNKNOWN_BLOCK);
    kinds[VRN_MAGIC_BLOB - first_letter] = VRN_BLOB_BLOCK;
    kinds[VRN_MAGIC_COUNTERS - first_letter] = VRN_COUNTERS_BLOCK;
    kinds[VRN_MAGIC_EVENTS - first_letter] = VRN_EVENTS_BLOCK;
    kinds[VRN_MAGIC_PAGE - first_letter] = VRN_PAGE_BLOCK;
    kinds[VRN_MAGIC_SCHEMAS - first_letter] = VRN_SCHEMAS_BLOCK;
    kinds[VRN_MAGIC_CNTX - first_letter] = VRN_CNTX_BLOCK;
    return kinds;
}();

}  // namespace

// Only the fourth byte is looked at, with a wrap-around below 'B': whatever ends in a known letter
// is a block, and the caller's walk decides where blocks can stand.
vrn_block_type_t vrn_block_type_of(const void *block) {
    const auto letter = static_cast<const std::uint8_t *>(block)[3];
    const auto place = static_cast<std::uint8_t>(letter - first_letter);
    return place < kinds_by_letter.size() ? kinds_by_letter[place] : VRN_UNKNOWN_BLOCK;
}

const char *vrn_block_type_name(std::uint32_t kind) {
    switch (kind) {
        case VRN_COUNTERS_BLOCK:
            return "VRN_COUNTERS_BLOCK";
        case VRN_EVENTS_BLOCK:
            return "VRN_EVENTS_BLOCK";
        case VRN_SCHEMAS_BLOCK:
            return "VRN_SCHEMAS_BLOCK";
        case VRN_BLOB_BLOCK:
            return "VRN_BLOB_BLOCK";
        case VRN_PAGE_BLOCK:
            return "VRN_PAGE_BLOCK";
        case VRN_CNTX_BLOCK:
            return "VRN_CNTX_BLOCK";
        default:
            return "Unknown block";
    }
}

void vrn_block_set_magic(void *block, std::uint32_t kind) {
    auto *magic = static_cast<char *>(block);
    switch (kind) {
        case VRN_COUNTERS_BLOCK:
            vrn_magic_set(magic, VRN_MAGIC_COUNTERS);
            break;
        case VRN_EVENTS_BLOCK:
            vrn_magic_set(magic, VRN_MAGIC_EVENTS);
            break;
        case VRN_SCHEMAS_BLOCK:
            vrn_magic_set(magic, VRN_MAGIC_SCHEMAS);
            break;
        case VRN_BLOB_BLOCK:
            vrn_magic_set(magic, VRN_MAGIC_BLOB);
            break;
        case VRN_PAGE_BLOCK:
            vrn_magic_set(magic, VRN_MAGIC_PAGE);
            break;
        // Deliberately "VRNX" and not "CNTX": it classifies, but no metrics search finds it.
        case VRN_CNTX_BLOCK:
            vrn_magic_set(magic, VRN_MAGIC_CNTX);
            break;
        default:
            break;
    }
}

void vrn_data_block_init(vrn_data_block_t *block) {
    vrn_magic_set(block->header.magic, VRN_MAGIC_COUNTERS);
    block->padding = 0;
    block->timestamp = vrn_time_now();
}

void vrn_blob_block_init(vrn_blob_block_t *block, std::uint64_t timestamp,
                         std::uint64_t data_size) {
    vrn_magic_set(block->header.magic, VRN_MAGIC_BLOB);
    block->timestamp = timestamp;
    block->data_size = data_size;
}

void vrn_event_header_print(std::FILE *stream, const vrn_event_header_t *header) {
    // The prints leave the timestamp out and call that of a counters block the last one. Their
    // texts are output that users compare.
    std::fputs("Event header\n", stream);
    vrn_print_magic(stream, "magic number", header->magic);
    vrn_print_u64(stream, "schema index", header->schema_index);
    vrn_print_u64(stream, "type index", header->type_index);
    vrn_print_u64(stream, "number of events", header->num_events);
}

void vrn_data_block_print(std::FILE *stream, const vrn_data_block_t *block) {
    std::fputs("Data block\n", stream);
    vrn_print_magic(stream, "magic number", block->header.magic);
    vrn_print_u64(stream, "last timestamp", block->timestamp);
}

void vrn_blob_block_print(std::FILE *stream, const vrn_blob_block_t *block) {
    std::fputs("Blob block\n", stream);
    vrn_print_magic(stream, "magic number", block->header.magic);
    vrn_print_u64(stream, "timestamp", block->timestamp);
    vrn_print_u64(stream, "data size", block->data_size);
}

#define VRN_LAYOUT_ROW(record, field) \
    vrn_print_layout_row(#field, offsetof(record, field), sizeof(record::field))

void vrn_event_header_print_fields() {
    vrn_print_layout_heading();
    VRN_LAYOUT_ROW(vrn_event_header_t, magic);
    VRN_LAYOUT_ROW(vrn_event_header_t, timestamp);
    VRN_LAYOUT_ROW(vrn_event_header_t, schema_index);
    VRN_LAYOUT_ROW(vrn_event_header_t, type_index);
    VRN_LAYOUT_ROW(vrn_event_header_t, num_events);
}

void vrn_data_block_print_fields() {
    vrn_print_layout_heading();
    vrn_print_layout_row("header.magic", 0, sizeof(vrn_block_header_t::magic));
    VRN_LAYOUT_ROW(vrn_data_block_t, padding);
    VRN_LAYOUT_ROW(vrn_data_block_t, timestamp);
    vrn_print_layout_open_row("values[]", sizeof(vrn_data_block_t));
}

void vrn_blob_block_print_fields() {
    vrn_print_layout_heading();
    vrn_print_layout_row("header.magic", 0, sizeof(vrn_block_header_t::magic));
    VRN_LAYOUT_ROW(vrn_blob_block_t, timestamp);
    VRN_LAYOUT_ROW(vrn_blob_block_t, data_size);
}
