// Schemas and pages for the line protocol tests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "counters/counters_schema.h"
#include "data/data_page.h"
#include "data/schema/name_tables.h"
#include "data/schema/schema_registration.h"
#include "data/schema/type_system.h"
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
    for (const TestField &field : fields)
        infos.push_back({field.name, "", field.type, 0, field.array_length});
    vrn_schema_add_type(schema, name, infos.data(), static_cast<std::uint16_t>(infos.size()),
                        nullptr);
    return vrn_schema_find_type(schema, name);
}

struct TestCounter {
    const char *name;
    std::uint32_t data_type = VRN_DATA_UINT64;
    std::uint32_t string_format = VRN_STRING_DEFAULT;
    std::uint32_t length = 0;
};

// `name` owns the text that the counter borrows.
inline vrn_counter_info_t make_counter(const TestCounter &counter, std::string *name) {
    *name = counter.name;
    static char none[] = "";
    vrn_counter_info_t info = {};
    info.name = name->data();
    info.description = none;
    info.units = none;
    info.data_type = counter.data_type;
    info.string_format = counter.string_format;
    info.length = counter.length;
    return info;
}

inline vrn_counter_group_ptr make_group(const char *name, std::uint32_t granularity,
                                        std::uint32_t sets,
                                        const std::vector<TestCounter> &counters) {
    vrn_counter_group_ptr group(vrn_counter_group_create(name, ""));
    group->granularity = granularity;
    group->num_counter_sets = sets;
    for (const TestCounter &counter : counters) {
        std::string text;
        const vrn_counter_info_t info = make_counter(counter, &text);
        vrn_counter_group_add_counter(group.get(), &info);
    }
    return group;
}

inline void add_group(vrn_counters_schema_t *schema, vrn_counter_group_ptr group) {
    if (vrn_counters_schema_add_group(schema, group.get())) group.release();  // to the schema
    schema->size = vrn_counters_schema_size_of_counters(schema);
}

// A 16-digit GUID of one repeated digit; empty for ' '.
inline std::string guid_digits(char digit) {
    return digit == ' ' ? "" : std::string(16, digit);
}

// An identity whose GUIDs repeat the digits of `guids`: node, system image, port 1, port 2.
inline std::string hca_bytes(std::string_view name, std::string_view guids) {
    ByteBuilder bytes;
    bytes.field(name, VRN_HCA_NAME_SIZE);
    for (const char digit : guids) bytes.field(guid_digits(digit), VRN_HCA_GUID_SIZE);
    return bytes.done();
}

struct TestPage {
    std::string area;  // blocks
    std::string hcas = {};
    // What the header claims; the true sizes unless stated.
    std::uint64_t page_size = 0;
    std::uint64_t filled_bytes = 0;
};

inline std::string page_bytes(const TestPage &page) {
    const std::uint64_t size = VRN_DATA_PAGE_HEADER_SIZE + page.area.size();
    return ByteBuilder()
        .zeros(8)
        .u64(page.page_size != 0 ? page.page_size : size)
        .u64(page.filled_bytes != 0 ? page.filled_bytes : size)
        .pad_to(offsetof(vrn_data_page_t, hca_info))
        .raw(page.hcas)
        .pad_to(VRN_DATA_PAGE_HEADER_SIZE)
        .raw(page.area)
        .done();
}

inline Bytes as_bytes(const std::string &bytes) {
    return {reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()};
}

inline std::string event_block(std::uint8_t schema_index, std::uint16_t type_index,
                               std::uint8_t num_events, std::string_view rows) {
    return ByteBuilder()
        .text("VRNE")
        .u64(1700000000123456)
        .u8(schema_index)
        .u16(type_index)
        .u8(num_events)
        .text(rows)
        .done();
}

inline std::string counters_block(const std::vector<std::uint64_t> &values) {
    ByteBuilder bytes;
    bytes.text("VRND").u32(0).u64(1700000000123456);
    for (const std::uint64_t value : values) bytes.u64(value);
    return bytes.done();
}

}  // namespace vrn::test
