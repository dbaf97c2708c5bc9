// Schemas and pages for the line protocol tests.
#pragma once

#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "counters/counter_fixtures.h"
#include "data/data_page.h"
#include "data/schema/schema_registration.h"
#include "data/schema/type_system.h"
#include "data/selection/name_tables.h"
#include "support/byte_builder.h"
#include "utils/byte_reader.h"

namespace vrn::test {

struct TestField {
    const char *type;
    const char *name;
    std::uint16_t array_length = 1;
};

// Registers a type of packed fields; returns it, borrowed.
inline const vrn_type_definition_t *add_type(vrn_schema_t *schema, const char *name,
                                             const std::vector<TestField> &fields) {
    std::vector<vrn_type_field_info_t> infos;
    for (const auto &field : fields)
        infos.push_back({field.name, "", field.type, 0, field.array_length});
    const auto count = static_cast<std::uint16_t>(infos.size());
    if (vrn_schema_add_type(schema, name, infos.data(), count, nullptr) != VRN_SCHEMA_OK)
        throw std::runtime_error("no type");
    return vrn_schema_find_type(schema, name);
}

// Adds a group "g" of UINT64 counters; returns it, borrowed.
inline vrn_counter_group_t *add_group(vrn_counters_schema_t *schema, std::uint32_t granularity,
                                      std::uint32_t sets, const std::vector<const char *> &names) {
    vrn_counter_group_t *group = vrn_counter_group_create("g", "");
    group->granularity = granularity;
    group->num_counter_sets = sets;
    for (const char *name : names) {
        const vrn_counter_info_t counter = make_counter(name, VRN_DATA_UINT64);
        if (!vrn_counter_group_add_counter(group, &counter)) throw std::bad_alloc();
    }
    if (!vrn_counters_schema_add_group(schema, group)) throw std::bad_alloc();
    schema->size = vrn_counters_schema_size_of_counters(schema);
    return group;
}

// An identity whose GUIDs repeat the digits of `guids`: node, system image, port 1, port 2.
inline std::string hca_bytes(std::string_view name, std::string_view guids) {
    ByteBuilder bytes;
    bytes.field(name, VRN_HCA_NAME_SIZE);
    for (const char digit : guids) bytes.text(std::string(VRN_HCA_GUID_SIZE, digit));
    return bytes.pad_to(sizeof(vrn_hca_info_t)).done();
}

// A page that holds just the blocks in `area` and says so.
inline std::string page_bytes(const std::string &area, const std::string &hcas = "") {
    const std::uint64_t size = VRN_DATA_PAGE_HEADER_SIZE + area.size();
    ByteBuilder page;
    page.zeros(8).u64(size).u64(size).pad_to(offsetof(vrn_data_page_t, hca_info)).raw(hcas);
    return page.pad_to(VRN_DATA_PAGE_HEADER_SIZE).raw(area).done();
}

inline constexpr std::uint64_t block_time = 1700000000123456;

inline std::string event_block(std::uint8_t schema, std::uint16_t type, std::uint8_t num_events,
                               std::string_view rows) {
    ByteBuilder block;
    block.text("VRNE").u64(block_time).u8(schema).u16(type).u8(num_events);
    return block.text(rows).done();
}

inline std::string counters_block(const std::vector<std::uint64_t> &values) {
    ByteBuilder block;
    block.text("VRND").u32(0).u64(block_time);
    for (const std::uint64_t value : values) block.u64(value);
    return block.done();
}

inline std::vector<std::uint8_t> exact_bytes(const std::string &bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace vrn::test
