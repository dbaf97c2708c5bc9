// The values of counters in a row: how their bytes are read, and how JSON shows them.
#pragma once

#include <cstdint>
#include <string_view>

#include "counters/counter_group.h"
#include "counters/counter_row.h"
#include "data/selection/name_tables.h"
#include "data/text/value_text.h"
#include "utils/log.h"

namespace vrn {

// A STRING: each form of output takes another number of its bytes.
struct StringCounter {};
// A counter whose type is "Undefined" or none of the table: 8 bytes, read as a signed number.
struct UntypedCounter {
    std::int64_t number;
};

// Calls `visit` with the value at `offset`: the only place that tells types of counters apart to
// read them. `visit` takes 64-bit integers of both signs, double, WideBytes and the two above.
template <typename Visit>
auto visit_counter(std::uint32_t data_type, const CounterRow &row, std::uint64_t offset,
                   Visit &&visit) {
    switch (data_type) {
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return visit(row.read<std::uint64_t>(offset));
        case VRN_DATA_INT64:
            return visit(row.read<std::int64_t>(offset));
        case VRN_DATA_FP64:
            return visit(row.read<double>(offset));
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return visit(row.read<WideBytes>(offset));
        case VRN_DATA_STRING:
            return visit(StringCounter{});
        default:
            return visit(UntypedCounter{row.read<std::int64_t>(offset)});
    }
}

// One visitor made of several functions.
template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

// Bytes of the value in a row: the `length` of a STRING, 16 of a 128-bit integer, 8 of any other.
std::uint32_t counter_size(const vrn_counter_info_t &counter);

// The state of the GUID switch for counters, read once.
bool counters_convert_guids();

// How JSON shows the values of a counter: settled by its description.
struct CounterJsonForm {
    enum Kind : std::uint8_t { number, text, guid } kind;
    std::uint32_t format;  // of a text
};
// `convert_guids` is the state of the GUID switch.
CounterJsonForm counter_json_form(const vrn_counter_info_t &counter, bool convert_guids);

// Hands the value of a counter, found at its offset, to one of
//   bool sink.number(T) of an integer or a double, bool sink.string(std::string_view)
// and returns what that returns.
template <typename Sink>
[[nodiscard]] bool write_counter_json(const vrn_counter_info_t &counter,
                                      const CounterJsonForm &form, const CounterRow &row,
                                      Sink &sink) {
    char text[VALUE_TEXT_ROOM];
    const auto put = [&](const char *end) {
        return sink.string({text, static_cast<std::size_t>(end - text)});
    };
    if (form.kind == CounterJsonForm::guid)
        return put(write_guid_value(text, row.read<std::uint64_t>(counter.offset)));
    const Overloaded visit = {
        [&](StringCounter) {
            const Bytes bytes = row.at(counter.offset, counter.length);
            vrn_log_hexdump(bytes.data(), bytes.size());
            return sink.string(row.text(counter.offset, counter.length));
        },
        [&](UntypedCounter value) { return sink.number(value.number); },
        [&](const WideBytes &value) { return put(write_value(text, value, form.format)); },
        [&](auto value) {
            if (form.kind == CounterJsonForm::number) return sink.number(value);
            return put(write_value(text, value, form.format));
        },
    };
    return visit_counter(counter.data_type, row, counter.offset, visit);
}

}  // namespace vrn
