// The counters of a schema sorted into lines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "counters/counters_schema.h"
#include "data/data_page.h"
#include "data/serial/serializer.h"

// A counter of a line. Values are looked up by slot: the 8-byte places of a row, counted from 0.
struct vrn_influx_field_t {
    std::string key;
    std::uint64_t slot;
    const vrn_counter_info_t *counter;  // borrowed from the counters schema
};

// One future line of counters that measure the same thing.
struct vrn_influx_line_record_t {
    std::string measurement;
    vrn::data::Tags tags;
    std::string prefix;  // of the counter names that belong here; empty for node and CPU records
    std::vector<vrn_influx_field_t> fields;
};

namespace vrn::data {

// By what they measure: the node, CPUs, ports and HCAs, in this order. `tags` go to every line. Of
// the page only the identities of its HCAs are read.
std::vector<vrn_influx_line_record_t> influx_counters_records(const Tags &tags,
                                                              const vrn_data_page_t &page,
                                                              const vrn_counters_schema_t *schema);

}  // namespace vrn::data
