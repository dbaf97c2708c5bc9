#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdint>
#include <string>
#include <string_view>

#include "counters/counter_data.h"
#include "counters/counter_row.h"
#include "data/schema/name_tables.h"
#include "data/value_format.h"
#include "utils/hexdump.h"

namespace {

constexpr std::size_t slot_bytes = 8;
constexpr int cell_width = 20;
// A cell with the blanks and the bar around it.
constexpr std::uint64_t column_width = cell_width + 3;

void print_padded(std::FILE *stream, std::string_view text, std::uint64_t width) {
    std::string padded(text);
    if (padded.size() < width) padded.resize(width, ' ');
    std::fwrite(padded.data(), 1, padded.size(), stream);
}

void print_rule(std::FILE *stream, std::uint64_t dashes) {
    const std::string rule = std::string(dashes, '-') + '\n';
    std::fwrite(rule.data(), 1, rule.size(), stream);
}

// Cell of a formatted value. False when there is no text.
bool print_text(std::FILE *stream, int width, char *raw) {
    const vrn::CString text(raw);
    if (text) std::fprintf(stream, " %*s |", width, text.get());
    return text != nullptr;
}

void print_string(std::FILE *stream, int width, const vrn::CounterRow &row, std::uint64_t offset) {
    const std::string_view text = row.text(offset, static_cast<std::uint64_t>(width));
    std::fprintf(stream, " %*.*s |", width, static_cast<int>(text.size()), text.data());
}

void print_double(std::FILE *stream, int width, double value, std::uint32_t format) {
    if (!print_text(stream, width, vrn_format_double_string(format, value)))
        std::fprintf(stream, " %*.3f |", width - 4, value);
}

void print_int64(std::FILE *stream, int width, std::int64_t value, std::uint32_t format) {
    if (!print_text(stream, width, vrn_format_int64_string(value, format)))
        std::fprintf(stream, " %*" PRId64 " |", width, value);
}

void print_uint64(std::FILE *stream, int width, std::uint64_t value, std::uint32_t format) {
    if (!print_text(stream, width, vrn_format_uint64_string(value, format)))
        std::fprintf(stream, " %*" PRIu64 "(u) |", width, value);
}

void print_bits(std::FILE *stream, int width, std::uint64_t value, std::uint32_t format) {
    if (!print_text(stream, width, vrn_format_uint64_string(value, format)))
        std::fprintf(stream, " %*" PRIX64 " |", width, value);
}

using WideBytes = std::array<std::uint8_t, 16>;

void print_wide(std::FILE *stream, int width, const WideBytes &bytes, std::uint32_t format) {
    if (!print_text(stream, width, vrn_format_uint128_string(bytes.data(), format)))
        std::fprintf(stream, " %*s |", width, "[formatting error]");
}

std::uint32_t format_of(const vrn_counter_info_t *counter) {
    if (counter->string_format != VRN_STRING_DEFAULT) return counter->string_format;
    return counter->data_type == VRN_DATA_BIT64 ? VRN_STRING_HEXADECIMAL : VRN_STRING_DECIMAL;
}

void print_value_cell(std::FILE *stream, int width, const vrn_counter_info_t *counter,
                      const vrn::CounterRow &row, std::uint64_t offset) {
    const std::uint32_t format = format_of(counter);
    switch (counter->data_type) {
        case VRN_DATA_STRING:
            return print_string(stream, width, row, offset);
        case VRN_DATA_FP64:
            return print_double(stream, width, row.read<double>(offset), format);
        case VRN_DATA_UINT64:
            return print_uint64(stream, width, row.read<std::uint64_t>(offset), format);
        case VRN_DATA_BIT64:
            return print_bits(stream, width, row.read<std::uint64_t>(offset), format);
        case VRN_DATA_INT64:
            return print_int64(stream, width, row.read<std::int64_t>(offset), format);
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return print_wide(stream, width, row.read<WideBytes>(offset), format);
        default:
            return vrn_print_scaled_cell(stream, width, row.read<std::int64_t>(offset));
    }
}

// The first column names the counter sets; a group of no sets has none.
struct FirstColumn {
    std::string_view label;
    bool is_shown;

    std::uint64_t width() const { return is_shown ? label.size() + 3 : 0; }
    void print(std::FILE *stream, std::string_view text) const {
        if (is_shown)
            std::fprintf(stream, "| %*.*s |", static_cast<int>(label.size()),
                         static_cast<int>(text.size()), text.data());
        else
            std::fputc('|', stream);
    }
};

// The label, left-justified in and cut to the rest of the line. Deliberate: a line too narrow for
// its fixed text makes the rest negative, which pads to its absolute value and doesn't cut.
void print_title(std::FILE *stream, std::string_view label, std::uint64_t width) {
    constexpr std::uint64_t fixed_text = 22;
    std::fputs("| Counter values per ", stream);
    if (width >= fixed_text)
        print_padded(stream, label.substr(0, width - fixed_text), width - fixed_text);
    else
        print_padded(stream, label, fixed_text - width);
    std::fputs(" |\n", stream);
}

void print_heading(std::FILE *stream, const vrn_counter_group_t *group,
                   const FirstColumn &first_column) {
    first_column.print(stream, first_column.label);
    for (std::uint32_t i = 0; i < group->num_counters; ++i)
        std::fprintf(stream, " %*s |", cell_width, group->counters[i]->name);
    std::fputc('\n', stream);
}

void print_set(std::FILE *stream, const vrn_counter_group_t *group, const vrn::CounterRow &row,
               std::uint32_t set, const FirstColumn &first_column) {
    first_column.print(stream, std::to_string(set));
    const std::uint64_t first_slot = static_cast<std::uint64_t>(group->num_counters) * set;
    for (std::uint32_t i = 0; i < group->num_counters; ++i)
        print_value_cell(stream, cell_width, group->counters[i], row,
                         (first_slot + i) * slot_bytes);
    std::fputc('\n', stream);
}

void print_table(std::FILE *stream, const vrn_counter_group_t *group, const vrn::CounterRow &row) {
    const char *label = vrn_counter_group_granularity_name(group);
    const FirstColumn first_column = {label, group->num_counter_sets != 0};
    const std::uint64_t width = group->num_counters * column_width + first_column.width();
    const std::uint64_t dashes = width + 1;
    print_rule(stream, dashes);
    print_title(stream, label, width);
    print_rule(stream, dashes);
    print_heading(stream, group, first_column);
    print_rule(stream, dashes);
    for (std::uint32_t set = 0; set < group->num_counter_sets; ++set)
        print_set(stream, group, row, set, first_column);
    print_rule(stream, dashes);
}

}  // namespace

void vrn_counters_row_print(std::FILE *stream, std::uint64_t timestamp, vrn::Bytes values,
                            const vrn_counters_schema_t *schema, bool microseconds) {
    const vrn::CString time(vrn_format_timestamp(timestamp, microseconds));
    if (time)
        std::fprintf(stream, "Data collected at %s\n", time.get());
    else
        std::fprintf(stream, "Data collected at %" PRId64 "\n",
                     static_cast<std::int64_t>(timestamp));
    const vrn::CounterRow row(values);
    for (std::uint32_t i = 0; i < schema->num_groups; ++i)
        if (schema->groups[i]) print_table(stream, schema->groups[i], row);
}

std::uint64_t vrn_counters_schema_table_reach(const vrn_counters_schema_t *schema) {
    std::uint64_t reach = schema->size;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
        const vrn_counter_group_t *group = schema->groups[i];
        if (!group) continue;
        const std::uint64_t slots =
            static_cast<std::uint64_t>(group->num_counters) * group->num_counter_sets;
        reach = std::max(reach, slots * slot_bytes);
    }
    return reach;
}

void vrn_counters_block_print(std::FILE *stream, const vrn_data_block_t *block,
                              const vrn_counters_schema_t *schema, bool microseconds) {
    const auto *values = reinterpret_cast<const std::uint8_t *>(block) + sizeof *block;
    vrn_counters_row_print(stream, block->timestamp,
                           {values, vrn_counters_schema_table_reach(schema)}, schema, microseconds);
}
