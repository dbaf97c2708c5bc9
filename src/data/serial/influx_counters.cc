#include "data/serial/influx_counters.h"

#include <concepts>

#include "counters/counter_row.h"
#include "counters/counter_value.h"
#include "data/block.h"
#include "data/serial/influx_text.h"

namespace vrn::data {

namespace {

// Deliberate: values lie in places of this size one after the other, as in tables; the offset of a
// counter plays no part.
constexpr std::uint64_t slot_size = 8;

// The value as it is shown in the given format, between double quotes.
template <typename T>
void write_quoted(TextBuffer *text, const T &value, std::uint32_t format) {
    text->append('"');
    text->advance_to(write_value(text->reserve(VALUE_TEXT_ROOM), value, format));
    text->append('"');
}

// Bits without a format are shown in hexadecimal.
std::uint32_t format_of(const vrn_counter_info_t &counter) {
    const bool is_bits = counter.data_type == VRN_DATA_BIT64;
    if (is_bits && counter.string_format == VRN_STRING_DEFAULT) return VRN_STRING_HEXADECIMAL;
    return counter.string_format;
}

void write_number(TextBuffer *text, std::integral auto value) {
    influx_write_integer(text, value);
}
void write_number(TextBuffer *text, double value) {
    text->fixed(value);
}

// The bytes from a slot of the row on.
Bytes slot_bytes(Bytes block, std::uint64_t slot) {
    return CounterRow(block).at(sizeof(vrn_data_block_t) + slot * slot_size, block.size());
}

}  // namespace

void influx_write_counter(Bytes data, const vrn_counter_info_t &counter, TextBuffer *text) {
    const CounterRow row(data);
    const std::uint32_t format = format_of(counter);
    const auto write = [&](auto value) {
        if (is_plain_format(format))
            write_number(text, value);
        else
            write_quoted(text, value, format);
    };
    const Overloaded visit = {
        // Deliberate: neither quoted nor escaped, and without a length up to any zero byte.
        [&](StringCounter) {
            text->append(row.text(0, counter.length != 0 ? counter.length : data.size()));
        },
        // A type that this version doesn't know shows as a signed number.
        [&](UntypedCounter value) { write(value.number); },
        [&](const WideBytes &value) { write_quoted(text, value, format); },
        [&](auto value) { write(value); },
    };
    visit_counter(counter.data_type, row, 0, visit);
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
        // The caller sees the size and refuses the line; what matters here is to end.
        if (text->size() - fields_start > max_size) break;
    }
    influx_write_time(text, CounterRow(block).read<vrn_data_block_t>(0).timestamp);
}

}  // namespace vrn::data
