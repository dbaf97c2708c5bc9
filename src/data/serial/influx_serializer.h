// Records in the InfluxDB line protocol: measurement, tags, fields, and a time in milliseconds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "counters/counters_schema.h"
#include "data/schema/type_definition.h"
#include "data/serial/influx_counters.h"
#include "data/serial/influx_records.h"
#include "data/serial/serializer.h"
#include "utils/byte_reader.h"

// Field list of one event record of `type->size` bytes, without measurement, tags or time; empty
// for a type without fields. The caller frees the text; null or std::bad_alloc: out of memory.
[[nodiscard]] char *vrn_influx_serialize_event(const vrn_type_definition_t *type,
                                               const void *record);

namespace vrn::data {

// `block` of the functions below goes from the block's first byte to the end of its page; values
// beyond that read as zeros.
class InfluxSerializer final : public Serializer {
  public:
    InfluxSerializer();

    // Ends at the first event block without a known type: nothing tells where the next one begins.
    std::vector<std::string> serialize(const Tags &tags, const vrn_data_page_t *page,
                                       const vrn_type_system_t *type_system) const override;

    // Takes the bytes of a page whose header may claim any sizes.
    std::vector<std::string> serialize_bytes(const Tags &tags, Bytes page,
                                             const vrn_type_system_t *type_system) const;

    // Line of one event; `timestamp` is in microseconds. Throws std::length_error for an event
    // whose fields take more than influx_text_limit() allows, as event_fields() does.
    std::string event_line(const Tags &tags, const vrn_type_definition_t *type, const void *record,
                           std::uint64_t timestamp) const;

    // Items "key=value" of the fields of a type, joined by commas. Numeric arrays have none.
    std::string event_fields(const vrn_type_definition_t *type, const void *record) const;

    // The counters of a schema sorted by what they measure: the node, CPUs, ports and HCAs, in this
    // order. Of the page only the identities of its HCAs are read.
    std::vector<vrn_influx_line_record_t> counters_records(
        const Tags &tags, const vrn_data_page_t &page, const vrn_counters_schema_t *schema) const;

    std::string counters_record_line(const vrn_influx_line_record_t &record, Bytes block) const;
    // For many lines of one record, which need not live on.
    InfluxCountersLine prepare_line(const vrn_influx_line_record_t &record) const;

    // Right side of a field; `data` begins at the value.
    std::string counter_value_text(Bytes data, const vrn_counter_info_t *counter) const;

    // A line for each counter set of a group; none for a group without counters. Deliberate: every
    // group starts at the row's first slot, as in tables, while counters_records() counts on.
    std::vector<std::string> group_lines(const Tags &tags, const vrn_counter_group_t *group,
                                         Bytes block) const;

    // Measurement and tags, as a line begins.
    std::string line_start(std::string_view measurement, const Tags &tags) const;

  private:
    std::vector<std::string> measurement_escapes_;
    std::vector<std::string> tag_escapes_;           // also of field keys of counters
    std::vector<std::string> string_value_escapes_;  // deliberately applied to nothing
};

}  // namespace vrn::data
