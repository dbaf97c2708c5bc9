#include "data/serial/influx_counters.h"

#include <array>

#include "counters/counter_row.h"
#include "data/block.h"
#include "data/selection/name_tables.h"
#include "data/serial/influx_serializer.h"
#include "data/serial/influx_text.h"
#include "data/text/value_text.h"
#include "utils/log.h"

namespace vrn::data {

namespace {

constexpr std::uint64_t slot_size = 8;

using WideBytes = std::array<std::uint8_t, 16>;

// A text that `write` puts at the place it is given, between double quotes.
template <typename Write>
void write_quoted(TextBuffer *text, Write write) {
    text->append('"');
    text->advance_to(write(text->reserve(VALUE_TEXT_ROOM)));
    text->append('"');
}

bool is_plain(std::uint32_t format) {
    return format <= VRN_STRING_DECIMAL;
}

void write_uint64(TextBuffer *text, std::uint64_t value, const vrn_counter_info_t &counter) {
    const bool is_bits = counter.data_type == VRN_DATA_BIT64;
    const std::uint32_t format = counter.string_format == VRN_STRING_DEFAULT && is_bits
                                     ? std::uint32_t{VRN_STRING_HEXADECIMAL}
                                     : counter.string_format;
    if (is_plain(format)) return influx_write_integer(text, value);
    write_quoted(text, [=](char *out) { return write_uint64_value(out, value, format); });
}

void write_int64(TextBuffer *text, std::int64_t value, std::uint32_t format) {
    if (is_plain(format)) return influx_write_integer(text, value);
    write_quoted(text, [=](char *out) { return write_int64_value(out, value, format); });
}

void write_double(TextBuffer *text, double value, std::uint32_t format) {
    if (is_plain(format)) return text->fixed(value);
    write_quoted(text, [=](char *out) { return write_double_value(out, value, format); });
}

void write_wide(TextBuffer *text, const WideBytes &bytes, std::uint32_t format) {
    if (format == VRN_STRING_DEFAULT) format = VRN_STRING_DECIMAL;
    write_quoted(text, [&](char *out) { return write_uint128_value(out, bytes.data(), format); });
}

// The bytes from a slot of the row on.
Bytes slot_bytes(Bytes block, std::uint64_t slot) {
    return CounterRow(block).at(sizeof(vrn_data_block_t) + slot * slot_size, block.size());
}

}  // namespace

void influx_write_counter(Bytes data, const vrn_counter_info_t &counter, TextBuffer *text) {
    const CounterRow row(data);
    switch (counter.data_type) {
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return write_uint64(text, row.read<std::uint64_t>(0), counter);
        case VRN_DATA_FP64:
            return write_double(text, row.read<double>(0), counter.string_format);
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return write_wide(text, row.read<WideBytes>(0), counter.string_format);
        case VRN_DATA_STRING:
            return text->append(row.text(0, counter.length != 0 ? counter.length : data.size()));
        default:
            return write_int64(text, row.read<std::int64_t>(0), counter.string_format);
    }
}

void InfluxCountersLine::add_field(std::string_view key, std::uint64_t slot,
                                   const vrn_counter_info_t *counter) {
    std::string item(fields_.empty() ? "" : ",");
    item.append(key).append(1, '=');
    fields_.push_back({std::move(item), slot, counter});
}

void InfluxCountersLine::write(Bytes block, std::uint64_t max_size, TextBuffer *text) const {
    text->append(start_);
    text->append(' ');
    const std::size_t fields_start = text->size();
    for (const Field &field : fields_) {
        text->append(field.key);
        influx_write_counter(slot_bytes(block, field.slot), *field.counter, text);
        if (text->size() - fields_start > max_size) break;
    }
    influx_write_time(text, CounterRow(block).read<vrn_data_block_t>(0).timestamp);
}

InfluxCountersLine InfluxSerializer::prepare_line(const vrn_influx_line_record_t &record) const {
    InfluxCountersLine line(line_start(record.measurement, record.tags));
    for (const vrn_influx_field_t &field : record.fields)
        line.add_field(influx_escape(field.key, tag_escapes_), field.slot, field.counter);
    return line;
}

std::string InfluxSerializer::counters_record_line(const vrn_influx_line_record_t &record,
                                                   Bytes block) const {
    TextBuffer text;
    prepare_line(record).write(block, UINT64_MAX, &text);
    return std::string(text.view());
}

std::string InfluxSerializer::counter_value_text(Bytes data,
                                                 const vrn_counter_info_t *counter) const {
    TextBuffer text;
    influx_write_counter(data, *counter, &text);
    return std::string(text.view());
}

std::vector<std::string> InfluxSerializer::group_lines(const Tags &tags,
                                                       const vrn_counter_group_t *group,
                                                       Bytes block) const {
    const bool is_named = group->name && *group->name != '\0';
    vrn_influx_line_record_t record = {.measurement = is_named ? group->name : "counters",
                                       .tags = tags,
                                       .prefix = "",
                                       .fields = {}};
    std::vector<std::string> lines;
    if (group->num_counters == 0) return lines;
    const char *granularity = vrn_counter_group_granularity_name(group);
    std::uint64_t room = influx_text_limit(block.size());
    for (std::uint64_t set = 0; set < group->num_counter_sets; ++set) {
        if (group->num_counter_sets > 1) record.tags[granularity] = std::to_string(set);
        record.fields.clear();
        for (std::uint64_t i = 0; i < group->num_counters; ++i)
            record.fields.push_back({.key = group->counters[i]->name,
                                     .slot = set * group->num_counters + i,
                                     .counter = group->counters[i]});
        TextBuffer text;
        prepare_line(record).write(block, room, &text);
        if (text.size() > room) {
            VRN_LOG(VRN_LOG_ERROR, "Lines of a counter group take too much memory");
            break;
        }
        room -= text.size();
        lines.emplace_back(text.view());
    }
    return lines;
}

}  // namespace vrn::data
