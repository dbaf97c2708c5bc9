#include "support/sample_files.h"

#include <cstring>

#include "data/data_file_header.h"
#include "data/schema/schema_text.h"
#include "support/byte_builder.h"
#include "support/page_blocks.h"

namespace vrn::test {
namespace {

constexpr std::size_t block_size = 384;

std::string events_block(std::uint16_t type_index) {
    ByteBuilder block;
    block.text("VRNE").u64(1000).u8(0).u16(type_index).u8(2);
    for (std::uint16_t row = 0; row < 2; ++row) {
        if (type_index == 1)
            block.u64(1000 + row).field("eth0", 6).u16(1).u16(2).u16(3).u16(4).f64(0.5).u16(7);
        else
            block.u16(row).u16(row);
    }
    return block.done();
}

std::string counters_block() {
    ByteBuilder block;
    block.text("VRND").u32(0).u64(1700000000000000);
    block.u64(5).f64(1.25).field("text", 8).u64(1).u64(2);
    return block.done();
}

std::string schemas_block() {
    vrn_schema_id_t id{};
    static_cast<void>(vrn_schema_id_from_hex(sample_events_id, &id));
    ByteBuilder block;
    block.text("VRNS").u16(256).u16(1).zeros(8).raw(&id, sizeof id);
    return block.pad_to(256).done();
}

std::string chunk(const std::string &blocks) {
    return ByteBuilder().text(blocks).pad_to(block_size).done();
}

}  // namespace

std::string sample_event_schema() {
    return schema_text(
        "point 4 x:int16_t@0,2 y:int16_t@2,2;"
        "move 32 timestamp:timestamp@0,8 name:char@8,1x6 track:point@14,4x2 load:double@22,8 "
        "guid:uint16_t@30,2");
}

std::string sample_counters_schema() {
    return R"({"version":"1.5.0","counter_groups":[
{"granularity":"CPU","name":"g","provider":"p","num_counter_sets":2,"num_counters":4,"counters":[
 {"name":"a","description":"","units":"","data_type":"UINT64","counting_type":"ABSOLUTE","length":8,"string_format":"DECIMAL"},
 {"name":"f","description":"","units":"","data_type":"FP64","counting_type":"ABSOLUTE"},
 {"name":"s","description":"","units":"","data_type":"STRING","counting_type":"ABSOLUTE","length":8},
 {"name":"u","description":"","units":"","data_type":"UINT128","counting_type":"ABSOLUTE","string_format":"UUID"}]}]})";
}

std::string sample_file_header(std::uint32_t chunk_size) {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    std::strcpy(header->source_id, "node1");
    header->block_size = chunk_size;
    static_cast<void>(vrn_schema_id_from_hex(sample_events_id, &header->event_schema_ids[0]));
    static_cast<void>(vrn_schema_id_from_hex(sample_counters_id, &header->counters_schema_id));
    return ByteBuilder().raw(header.get(), sizeof *header).done();
}

std::string sample_data_file() {
    const std::string events = events_block(1) + events_block(0);
    return ByteBuilder()
        .text(sample_file_header(block_size))
        .text(chunk(events + schemas_block()))
        .text(chunk(counters_block()))
        .text(chunk(encode_page(VRN_ENCODING_GZIP, events) +
                    encode_page(VRN_ENCODING_SNAPPY, counters_block() + counters_block())))
        .text(counters_block())
        .done();
}

void write_sample_schemas(const TempDir &dir) {
    dir.write(std::string("schema/schema_") + sample_events_id + ".json", sample_event_schema());
    dir.write(std::string("schema/schema_") + sample_counters_id + ".json",
              sample_counters_schema());
}

}  // namespace vrn::test
