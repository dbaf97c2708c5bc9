#include "support/plain_difference.h"

#include <bit>
#include <cctype>
#include <cinttypes>
#include <cstdio>

#include "counters/counter_row.h"
#include "counters/counters_table.h"
#include "data/serial/influx_event.h"
#include "data/text/local_time_text.h"
#include "data/text/value_text.h"
#include "support/capture_stream.h"
#include "support/random_rows.h"
#include "utils/c_ptr.h"
#include "utils/hexdump.h"
#include "utils/string_template.h"

namespace vrn::test {
namespace {

std::string difference(const std::string &expected, std::string_view text) {
    if (expected == text) return "";
    return "printf: " + expected + "\ntext:   " + std::string(text);
}

std::string taken(char *text) {
    const CString owned(text);
    return text;
}

bool is_signed(std::uint32_t id) {
    return (id >= VRN_BUILTIN_SHORT && id <= VRN_BUILTIN_LONGLONG) ||
           (id >= VRN_BUILTIN_INT8 && id <= VRN_BUILTIN_INT64);
}

std::string printed_value(std::uint32_t id, const char *data) {
    if (id == VRN_BUILTIN_BOOL) return (*data & 1) != 0 ? "true" : "false";
    if (id == VRN_BUILTIN_FLOAT)
        return taken(vrn_format_string("%f", static_cast<double>(load_le<float>(data))));
    if (id == VRN_BUILTIN_DOUBLE) return taken(vrn_format_string("%f", load_le<double>(data)));
    const std::size_t size = vrn_builtin_type_size(id);
    std::uint64_t value = 0;
    std::memcpy(&value, data, size);
    if (!is_signed(id)) return taken(vrn_format_string("%" PRIu64 "i", value));
    const std::size_t missing_bits = 64 - 8 * size;
    const std::int64_t number = static_cast<std::int64_t>(value << missing_bits) >> missing_bits;
    return taken(vrn_format_string("%" PRId64 "i", number));
}

std::string printable(const char *data, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size && std::isprint(static_cast<unsigned char>(data[i])); ++i)
        text += data[i];
    return text;
}

void print_items(const vrn_type_definition_t &type, const char *data, const std::string &prefix,
                 std::string *list) {
    const auto add = [list](const std::string &key, const std::string &value) {
        list->append(list->empty() ? "" : ",").append(key).append("=").append(value);
    };
    const std::string outer = prefix.empty() ? "" : prefix + ".";
    for (std::uint16_t i = 0; i < type.num_fields; ++i) {
        const vrn_type_field_definition_t &field = *type.fields[i];
        const std::uint32_t id = field.type->builtin_id;
        const std::string name = field.field_name;
        const std::string key = outer + name;
        const char *value = data + field.offset;
        if (field.array_length != 1 && (id == VRN_BUILTIN_CHAR || id == VRN_BUILTIN_UCHAR))
            add(key, '"' + printable(value, field.array_length) + '"');
        else if (field.array_length != 1)
            for (int element = 0; element < field.array_length; ++element)
                print_items(*field.type, value + element * field.type_size,
                            prefix + name + "." + std::to_string(element), list);
        else if (id != VRN_BUILTIN_NONE)
            add(key, printed_value(id, value));
        else
            print_items(*field.type, value, key, list);
    }
}

void print_cell(std::FILE *stream, const vrn_counter_info_t &counter, const CounterRow &row,
                std::uint64_t offset) {
    constexpr int width = 20;
    const std::uint32_t type = counter.data_type;
    std::uint32_t format = counter.string_format;
    if (format == VRN_STRING_DEFAULT)
        format = type == VRN_DATA_BIT64 ? VRN_STRING_HEXADECIMAL : VRN_STRING_DECIMAL;
    const std::string bytes(row.text(offset, width));
    const auto word = row.read<std::uint64_t>(offset);
    struct Wide {
        std::uint64_t words[2];
    };
    CString text;
    if (type == VRN_DATA_STRING)
        text.reset(strdup(bytes.c_str()));
    else if (type == VRN_DATA_FP64)
        text.reset(vrn_format_double_string(format, std::bit_cast<double>(word)));
    else if (type == VRN_DATA_UINT64 || type == VRN_DATA_BIT64)
        text.reset(vrn_format_uint64_string(word, format));
    else if (type == VRN_DATA_INT64)
        text.reset(vrn_format_int64_string(static_cast<std::int64_t>(word), format));
    else if (type == VRN_DATA_UINT128 || type == VRN_DATA_INT128)
        text.reset(vrn_format_uint128_string(row.read<Wide>(offset).words, format));
    else
        return vrn_print_scaled_cell(stream, width, static_cast<std::int64_t>(word));
    std::fprintf(stream, " %*s |", width, text.get());
}

void print_table(std::FILE *stream, const vrn_counter_group_t &group, const CounterRow &row) {
    const bool has_sets = group.num_counter_sets != 0;
    const char *label = vrn_counter_group_granularity_name(&group);
    const int label_width = static_cast<int>(std::strlen(label));
    const int count = static_cast<int>(group.num_counters);
    const int width = count * 23 + (has_sets ? label_width + 3 : 0);
    const std::string rule = std::string(static_cast<std::size_t>(width) + 1, '-') + '\n';
    std::fputs(rule.c_str(), stream);
    std::fprintf(stream, "| Counter values per %-*.*s |\n", width - 22, width - 22, label);
    std::fputs(rule.c_str(), stream);
    if (has_sets)
        std::fprintf(stream, "| %*s |", label_width, label);
    else
        std::fputc('|', stream);
    for (int i = 0; i < count; ++i) std::fprintf(stream, " %*s |", 20, group.counters[i]->name);
    std::fprintf(stream, "\n%s", rule.c_str());
    for (std::uint32_t set = 0; set < group.num_counter_sets; ++set) {
        std::fprintf(stream, "| %*d |", label_width, static_cast<int>(set));
        for (std::uint32_t i = 0; i < group.num_counters; ++i)
            print_cell(stream, *group.counters[i], row,
                       8 * (i + std::uint64_t{group.num_counters} * set));
        std::fputc('\n', stream);
    }
    std::fputs(rule.c_str(), stream);
}

std::string printed_tables(const vrn_counters_schema_t &schema, std::uint64_t timestamp,
                           const CounterRow &row, bool microseconds) {
    return captured_stream([&](std::FILE *stream) {
        const CString time(vrn_format_timestamp(timestamp, microseconds));
        std::fprintf(stream, "Data collected at %s\n", time.get());
        for (std::uint32_t i = 0; i < schema.num_groups; ++i)
            print_table(stream, *schema.groups[i], row);
    });
}

}  // namespace

std::string influx_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomTypes types(source);
    const vrn_type_definition_t *type = types.last();
    if (!type) return "";
    const std::string record = random_record(source, type->size);
    std::string expected;
    print_items(*type, record.data(), "", &expected);
    TextBuffer text;
    text.append("line before\n");
    const std::size_t start = text.size();
    vrn_influx_write_event(type, record.data(), &text);
    return difference(expected, text.view().substr(start));
}

std::string table_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomCounters counters(source);
    CountersTable table(*counters.schema());
    TextBuffer text;
    std::string expected;
    for (int row = 0; row < 3; ++row) {
        const std::string values = random_record(source, source.below(100));
        const std::uint64_t timestamp = 1'700'000'000'000'000 + source.below(3'000'000);
        const bool microseconds = source.one_in(2);
        expected += printed_tables(*counters.schema(), timestamp, CounterRow(bytes_of(values)),
                                   microseconds);
        table.write(timestamp, bytes_of(values), microseconds, &text);
    }
    return difference(expected, text.view());
}

}  // namespace vrn::test
