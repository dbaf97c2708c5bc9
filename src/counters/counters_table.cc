#include "counters/counters_table.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "data/selection/name_tables.h"
#include "data/text/value_text.h"

namespace vrn {
namespace {

constexpr std::size_t slot_bytes = 8;
constexpr std::size_t cell_width = 20;
// A cell with the blanks and the bar around it.
constexpr std::uint64_t column_width = cell_width + 3;

using WideBytes = std::array<std::uint8_t, 16>;

std::string padding(std::size_t size, std::size_t width) {
    return std::string(width - std::min(size, width), ' ');
}

// The first column names the counter sets; a group of no sets has none.
std::uint64_t first_column_width(std::string_view label, const vrn_counter_group_t &group) {
    return group.num_counter_sets == 0 ? 0 : label.size() + 3;
}

// The label, left-justified in and cut to the rest of the line. Deliberate: a line too narrow for
// its fixed text makes the rest negative, which pads to its absolute value and doesn't cut.
std::string title(std::string_view label, std::uint64_t width) {
    constexpr std::uint64_t fixed_text = 22;
    const bool is_narrow = width < fixed_text;
    const std::uint64_t rest = is_narrow ? fixed_text - width : width - fixed_text;
    const std::string_view shown = is_narrow ? label : label.substr(0, rest);
    return "| Counter values per " + std::string(shown) + padding(shown.size(), rest) + " |\n";
}

std::string heading(std::string_view label, const vrn_counter_group_t &group) {
    std::string line = "|";
    if (group.num_counter_sets != 0) line.append(1, ' ').append(label).append(" |");
    for (std::uint32_t i = 0; i < group.num_counters; ++i) {
        const char *known_name = group.counters[i]->name;
        const std::string_view name = known_name ? known_name : "(null)";
        line.append(1, ' ').append(padding(name.size(), cell_width)).append(name).append(" |");
    }
    return line + '\n';
}

std::uint32_t format_of(const vrn_counter_info_t &counter) {
    if (counter.string_format != VRN_STRING_DEFAULT) return counter.string_format;
    return counter.data_type == VRN_DATA_BIT64 ? VRN_STRING_HEXADECIMAL : VRN_STRING_DECIMAL;
}

// `text` at the right of `width` places, not cut.
void add_right(TextBuffer &text, std::string_view content, std::size_t width) {
    if (content.size() < width) text.append(width - content.size(), ' ');
    text.append(content);
}

void add_cell(TextBuffer &text, std::string_view content) {
    text.append(' ');
    add_right(text, content, cell_width);
    text.append(" |");
}

// Cell of what `write` puts at the place it is given.
template <typename Write>
void add_value(TextBuffer &text, Write write) {
    char value[VALUE_TEXT_ROOM];
    const char *end = write(value);
    add_cell(text, {value, static_cast<std::size_t>(end - value)});
}

// The usual cell. The digits go straight to their place, and the cell's end over what is written
// behind them.
void add_number(TextBuffer &text, std::uint64_t value) {
    char *cell = text.reserve(column_width);
    std::memset(cell, ' ', column_width);
    char *end = write_digits(cell + 1 + cell_width - integer_size(value), value);
    *end++ = ' ';
    *end++ = '|';
    text.advance_to(end);
}

// Above 999 in thousands.
void add_scaled(TextBuffer &text, std::int64_t value) {
    constexpr std::int64_t thousand = 1000;
    char digits[VALUE_TEXT_ROOM];
    const bool is_scaled = value >= thousand;
    char *end = write_integer(digits, is_scaled ? value / thousand : value);
    if (is_scaled) end = std::ranges::copy(std::string_view(" k"), end).out;
    add_cell(text, {digits, static_cast<std::size_t>(end - digits)});
}

}  // namespace

CountersTable::CountersTable(const vrn_counters_schema_t &schema) {
    for (std::uint32_t i = 0; i < schema.num_groups; ++i)
        if (schema.groups[i]) groups_.push_back(prepare(*schema.groups[i]));
}

CountersTable::Group CountersTable::prepare(const vrn_counter_group_t &group) {
    const std::string_view label = vrn_counter_group_granularity_name(&group);
    const std::uint64_t width =
        group.num_counters * column_width + first_column_width(label, group);
    const std::string rule = std::string(width + 1, '-') + '\n';
    Group prepared = {.head = rule + title(label, width) + rule + heading(label, group) + rule,
                      .rule = rule,
                      .label_width = label.size(),
                      .num_sets = group.num_counter_sets,
                      .cells = {}};
    for (std::uint32_t i = 0; i < group.num_counters; ++i)
        prepared.cells.push_back({group.counters[i]->data_type, format_of(*group.counters[i])});
    return prepared;
}

void CountersTable::write(std::uint64_t timestamp, Bytes values, bool microseconds,
                          TextBuffer *text) {
    const std::string_view time = time_.of(timestamp, microseconds);
    text->append("Data collected at ");
    if (time.empty())
        text->integer(static_cast<std::int64_t>(timestamp));
    else
        text->append(time);
    text->append('\n');
    const CounterRow row(values);
    for (const Group &group : groups_) write_group(group, row, *text);
}

void CountersTable::write_group(const Group &group, const CounterRow &row, TextBuffer &text) {
    text.append(group.head);
    std::uint64_t offset = 0;
    for (std::uint32_t set = 0; set < group.num_sets; ++set) {
        char number[INTEGER_TEXT_SIZE + NUMBER_TEXT_SLACK];
        const char *end = write_integer(number, set);
        text.append("| ");
        add_right(text, {number, static_cast<std::size_t>(end - number)}, group.label_width);
        text.append(" |");
        for (const Cell &cell : group.cells) {
            write_cell(cell, row, offset, text);
            offset += slot_bytes;
        }
        text.append('\n');
    }
    text.append(group.rule);
}

void CountersTable::write_cell(const Cell &cell, const CounterRow &row, std::uint64_t offset,
                               TextBuffer &text) {
    switch (cell.data_type) {
        case VRN_DATA_STRING:
            return add_cell(text, row.text(offset, cell_width));
        case VRN_DATA_FP64:
            return add_value(text, [&](char *out) {
                return write_double_value(out, row.read<double>(offset), cell.format);
            });
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            if (cell.format == VRN_STRING_DECIMAL)
                return add_number(text, row.read<std::uint64_t>(offset));
            return add_value(text, [&](char *out) {
                return write_uint64_value(out, row.read<std::uint64_t>(offset), cell.format);
            });
        case VRN_DATA_INT64:
            return add_value(text, [&](char *out) {
                return write_int64_value(out, row.read<std::int64_t>(offset), cell.format);
            });
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return add_value(text, [&](char *out) {
                return write_uint128_value(out, row.read<WideBytes>(offset).data(), cell.format);
            });
        default:
            return add_scaled(text, row.read<std::int64_t>(offset));
    }
}

}  // namespace vrn
