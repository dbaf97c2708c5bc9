#include "fan_page.h"

#include <cstring>

#include <vrn/data/block.h>
#include <vrn/data/magic.h>

void put_bytes(vrn_data_page_t *page, const void *bytes, std::size_t size) {
    void *space = nullptr;
    std::uint64_t room = 0;
    vrn_data_page_get_free_space(page, &space, &room);
    if (size > room) return;
    std::memcpy(space, bytes, size);
    vrn_data_page_consume_free_space(page, size);
}

void put_schemas_block(vrn_data_page_t *page, const vrn_schema_id_t &id) {
    struct {
        vrn_schemas_block_t header;
        vrn_schema_id_t ids[15];
    } block{};
    static_assert(sizeof block == VRN_SCHEMAS_BLOCK_MIN_BYTES);
    vrn_block_set_magic(&block, VRN_SCHEMAS_BLOCK);
    block.header.size = sizeof block;
    block.header.num_schema_ids = 1;
    block.ids[0] = id;
    put_bytes(page, &block, sizeof block);
}

void put_fan(vrn_data_page_t *page, std::uint64_t timestamp, const FanRow &row) {
    vrn_event_header_t header{};
    vrn_magic_set(header.magic, VRN_MAGIC_EVENTS);
    header.timestamp = timestamp;
    header.num_events = 1;
    put_bytes(page, &header, sizeof header);
    put_bytes(page, &row, sizeof row);
    page->last_ts = timestamp;
}
