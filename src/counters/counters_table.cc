#include "counters/counters_table.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "counters/counter_value.h"

namespace vrn {
namespace {

// Deliberate: tables read values from places of this size, whatever the offsets of the counters,
// and so are right for rows of 8-byte values alone.
constexpr std::size_t slot_bytes = 8;
constexpr std::size_t cell_width = 20;
// A cell with the blanks and the bar around it.
constexpr std::uint64_t column_width = cell_width + 3;

std::string padding(std::size_t size, std::size_t width) {
    return std::string(width - std::min(size, width), ' ');
}

// The first column names the counter sets; a group of no sets has none.
std::uint64_t first_column_width(std::string_view label, const vrn_counter_group_t &group) {
    return group.num_counter_sets == 0 ? 0 : label.size() + 3;
}

// The label, left-justified in and cut to the rest of the line. Deliberate: a line too narrow for
// its fixed text makes the rest negative, which pads to its absolute value.
std::string title(std::string_view label, std::uint64_t width) {
    constexpr std::uint64_t fixed_text = 22;
    const std::uint64_t rest = width < fixed_text ? fixed_text - width : width - fixed_text;
    const std::string_view shown = label.substr(0, rest);
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

template <typename T>
void add_value(TextBuffer &text, const T &value, std::uint32_t format) {
    char shown[VALUE_TEXT_ROOM];
    const char *end = write_value(shown, value, format);
    add_cell(text, {shown, static_cast<std::size_t>(end - shown)});
}

// The usual cell. The digits go straight to their place; the cell's end overwrites the spare bytes
// that come with them.
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
        // Schemas that are built in code may have gaps.
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
    // No text: a time whose year the system can't name.
    if (time.empty())
        text->integer(static_cast<std::int64_t>(timestamp));
    else
        text->append(time);
    text->append('\n');
    const CounterRow row(values);
    // Deliberate: every group starts at the first value of the row.
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
    const Overloaded visit = {
        // As much as the cell holds, whatever the length of the counter: the text may run on into
        // the
        // values that follow.
        [&](StringCounter) { add_cell(text, row.text(offset, cell_width)); },
        [&](UntypedCounter value) { add_scaled(text, value.number); },
        [&](std::uint64_t value) {
            if (cell.format == VRN_STRING_DECIMAL)
                add_number(text, value);
            else
                add_value(text, value, cell.format);
        },
        [&](const auto &value) { add_value(text, value, cell.format); },
    };
    visit_counter(cell.data_type, row, offset, visit);
}

}  // namespace vrn

namespace {

// Bytes of a row that its tables read.
std::uint64_t table_reach(const vrn_counters_schema_t *schema) {
    std::uint64_t reach = schema->size;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
        const vrn_counter_group_t *group = schema->groups[i];
        if (!group) continue;
        const std::uint64_t slots = std::uint64_t{group->num_counters} * group->num_counter_sets;
        reach = std::max(reach, slots * vrn::slot_bytes);
    }
    return reach;
}

}  // namespace

void vrn_counters_row_print(std::FILE *stream, std::uint64_t timestamp, vrn::Bytes values,
                            const vrn_counters_schema_t *schema, bool microseconds) {
    vrn::TextBuffer text;
    vrn::CountersTable(*schema).write(timestamp, values, microseconds, &text);
    std::fwrite(text.view().data(), 1, text.size(), stream);
}

void vrn_counters_block_print(std::FILE *stream, const vrn_data_block_t *block,
                              const vrn_counters_schema_t *schema, bool microseconds) {
    const auto *values = reinterpret_cast<const std::uint8_t *>(block) + sizeof *block;
    vrn_counters_row_print(stream, block->timestamp, {values, table_reach(schema)}, schema,
                           microseconds);
}
