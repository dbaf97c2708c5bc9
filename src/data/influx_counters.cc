// Counters blocks as lines.
#include <array>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <utility>

#include "counters/counter_row.h"
#include "data/block.h"
#include "data/influx_serializer.h"
#include "data/influx_text.h"
#include "data/schema/name_tables.h"
#include "data/value_format.h"
#include "utils/c_ptr.h"

namespace vrn::data {

namespace {

constexpr std::uint64_t slot_size = 8;

std::string guid_text(std::string_view digits) {
    return std::string("0x").append(digits);
}

// Text of a formatter between double quotes; the plain value when there is none.
std::string quoted_or(char *text, std::string plain) {
    const CString owned(text);
    return text ? influx_quoted(text) : std::move(plain);
}

using WideBytes = std::array<std::uint8_t, 16>;

std::string wide_digits(const WideBytes &bytes) {
    std::string digits;
    for (const std::uint8_t byte : bytes) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", byte);
        digits += pair;
    }
    return digits;
}

std::uint64_t block_timestamp(Bytes block) {
    return CounterRow(block).read<vrn_data_block_t>(0).timestamp;
}

// The bytes from a slot of the row on.
Bytes slot_bytes(Bytes block, std::uint64_t slot) {
    return CounterRow(block).at(sizeof(vrn_data_block_t) + slot * slot_size, block.size());
}

// Sorts the counters of a schema into the lines of a page.
class RecordSorter {
  public:
    RecordSorter(const Tags &tags, const vrn_data_page_t &page, const vrn_counters_schema_t *schema)
        : tags_(tags), schema_(schema) {
        std::string node_guid;
        std::string system_image_guid;
        for (const vrn_hca_info_t &hca : page.hca_info) {
            if (field_text(hca.hca_name).empty()) continue;
            if (hcas_.empty()) {
                node_guid = guid_text(field_text(hca.node_guid));
                system_image_guid = guid_text(field_text(hca.system_image_guid));
            }
            add_hca(hca);
        }
        node_tags_ =
            with_tags({{"node_guid", node_guid}, {"system_image_guid", system_image_guid}}, tags_);
        add_cpus();
        node_ = {.measurement = "node_counters", .tags = node_tags_, .prefix = "", .fields = {}};
    }

    std::vector<vrn_influx_line_record_t> sort() && {
        for (std::uint32_t i = 0; i < schema_->num_groups; ++i) add_group(schema_->groups[i]);
        std::vector<vrn_influx_line_record_t> records;
        records.reserve(1 + cpus_.size() + ports_.size() + hcas_.size());
        records.push_back(std::move(node_));
        for (auto *list : {&cpus_, &ports_, &hcas_})
            std::move(list->begin(), list->end(), std::back_inserter(records));
        return records;
    }

  private:
    using Records = std::vector<vrn_influx_line_record_t>;

    // `more` and those of `tags` whose keys it hasn't got.
    static Tags with_tags(Tags more, const Tags &tags) {
        more.insert(tags.begin(), tags.end());
        return more;
    }

    void add_hca(const vrn_hca_info_t &hca) {
        const std::string name(field_text(hca.hca_name));
        hcas_.push_back({.measurement = "hca_counters",
                         .tags = with_tags(
                             {{"hca_name", name},
                              {"node_guid", guid_text(field_text(hca.node_guid))},
                              {"system_image_guid", guid_text(field_text(hca.system_image_guid))}},
                             tags_),
                         .prefix = name + ':',
                         .fields = {}});
        add_port(hca, "1", field_text(hca.port_1_guid));
        if (hca.port_2_guid[0] != '\0') add_port(hca, "2", field_text(hca.port_2_guid));
    }

    void add_port(const vrn_hca_info_t &hca, const std::string &number, std::string_view guid) {
        const std::string name(field_text(hca.hca_name));
        ports_.push_back({.measurement = "hca_port_counters",
                          .tags = with_tags({{"hca_name", name},
                                             {"node_guid", guid_text(field_text(hca.node_guid))},
                                             {"port_num", number},
                                             {"port_guid", guid_text(guid)}},
                                            tags_),
                          .prefix = name + ':' + number + ':',
                          .fields = {}});
    }

    // The first group of CPU counters says how many CPUs there are.
    void add_cpus() {
        for (std::uint32_t i = 0; i < schema_->num_groups; ++i) {
            const vrn_counter_group_t *group = schema_->groups[i];
            if (group->granularity != VRN_GRANULARITY_CPU) continue;
            for (std::uint32_t cpu = 0; cpu < group->num_counter_sets; ++cpu)
                cpus_.push_back({.measurement = "cpu_counters",
                                 .tags = with_tags({{"cpu_num", std::to_string(cpu)}}, node_tags_),
                                 .prefix = "",
                                 .fields = {}});
            return;
        }
    }

    void add_group(const vrn_counter_group_t *group) {
        if (group->granularity == VRN_GRANULARITY_NODE)
            add_node_counters(group);
        else if (group->granularity == VRN_GRANULARITY_CPU)
            add_cpu_counters(group);
        else
            slot_ += std::uint64_t{group->num_counter_sets} * group->num_counters;
    }

    void add_node_counters(const vrn_counter_group_t *group) {
        for (std::uint32_t i = 0; i < group->num_counters; ++i, ++slot_) {
            const std::string_view name = group->counters[i]->name;
            vrn_influx_line_record_t &record = record_of(name);
            record.fields.push_back({.key = std::string(name.substr(record.prefix.size())),
                                     .slot = slot_,
                                     .counter = group->counters[i]});
        }
    }

    void add_cpu_counters(const vrn_counter_group_t *group) {
        for (std::uint32_t set = 0; set < group->num_counter_sets; ++set)
            for (std::uint32_t i = 0; i < group->num_counters; ++i, ++slot_)
                if (set < cpus_.size())  // another group may claim more CPUs than the first
                    cpus_[set].fields.push_back({.key = group->counters[i]->name,
                                                 .slot = slot_,
                                                 .counter = group->counters[i]});
    }

    // Where a counter of the node belongs by its name.
    vrn_influx_line_record_t &record_of(std::string_view name) {
        if (!name.starts_with("nic")) return node_;
        for (vrn_influx_line_record_t &port : ports_)
            if (name.starts_with(port.prefix)) return port;
        for (vrn_influx_line_record_t &hca : hcas_)
            if (name.starts_with(hca.prefix) && starts_with_letter(name.substr(hca.prefix.size())))
                return hca;
        return node_;
    }

    // Keeps the counters of ports that have no record out of the HCA's.
    static bool starts_with_letter(std::string_view text) {
        return !text.empty() && std::isalpha(static_cast<unsigned char>(text.front())) != 0;
    }

    const Tags &tags_;
    const vrn_counters_schema_t *schema_;
    Tags node_tags_;
    vrn_influx_line_record_t node_;
    Records cpus_;
    Records ports_;
    Records hcas_;
    std::uint64_t slot_ = 0;  // counts every value of the row
};

std::string uint64_text(std::uint64_t value, const vrn_counter_info_t *counter) {
    const std::uint32_t format = counter->string_format;
    std::string plain = influx_integer(value);
    if (format == VRN_STRING_DEFAULT && counter->data_type == VRN_DATA_BIT64)
        return quoted_or(vrn_format_uint64_string(value, VRN_STRING_HEXADECIMAL), std::move(plain));
    if (format <= VRN_STRING_DECIMAL) return plain;
    return quoted_or(vrn_format_uint64_string(value, format), std::move(plain));
}

std::string int64_text(std::int64_t value, std::uint32_t format) {
    std::string plain = influx_integer(value);
    if (format <= VRN_STRING_DECIMAL) return plain;
    return quoted_or(vrn_format_int64_string(value, format), std::move(plain));
}

std::string double_text(double value, std::uint32_t format) {
    std::string plain = std::to_string(value);
    if (format <= VRN_STRING_DECIMAL) return plain;
    return quoted_or(vrn_format_double_string(format, value), std::move(plain));
}

std::string wide_text(const WideBytes &bytes, std::uint32_t format) {
    if (format == VRN_STRING_DEFAULT) format = VRN_STRING_DECIMAL;
    return quoted_or(vrn_format_uint128_string(bytes.data(), format),
                     influx_quoted(wide_digits(bytes)));
}

}  // namespace

std::vector<vrn_influx_line_record_t> InfluxSerializer::counters_records(
    const Tags &tags, const vrn_data_page_t &page, const vrn_counters_schema_t *schema) const {
    return RecordSorter(tags, page, schema).sort();
}

std::string InfluxSerializer::counters_record_line(const vrn_influx_line_record_t &record,
                                                   Bytes block, std::uint64_t max_size) const {
    std::string fields;
    for (const vrn_influx_field_t &field : record.fields) {
        influx_append_item(&fields, influx_escape(field.key, tag_escapes_),
                           counter_value_text(slot_bytes(block, field.slot), field.counter));
        if (fields.size() > max_size) break;
    }
    return line_start(record.measurement, record.tags) + ' ' + fields +
           influx_time(block_timestamp(block));
}

std::string InfluxSerializer::counter_value_text(Bytes data,
                                                 const vrn_counter_info_t *counter) const {
    const CounterRow row(data);
    switch (counter->data_type) {
        case VRN_DATA_UINT64:
        case VRN_DATA_BIT64:
            return uint64_text(row.read<std::uint64_t>(0), counter);
        case VRN_DATA_FP64:
            return double_text(row.read<double>(0), counter->string_format);
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return wide_text(row.read<WideBytes>(0), counter->string_format);
        case VRN_DATA_STRING:
            return std::string(row.text(0, counter->length != 0 ? counter->length : data.size()));
        default:
            return int64_text(row.read<std::int64_t>(0), counter->string_format);
    }
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
    for (std::uint64_t set = 0; set < group->num_counter_sets; ++set) {
        if (group->num_counter_sets > 1) record.tags[granularity] = std::to_string(set);
        record.fields.clear();
        for (std::uint64_t i = 0; i < group->num_counters; ++i)
            record.fields.push_back({.key = group->counters[i]->name,
                                     .slot = set * group->num_counters + i,
                                     .counter = group->counters[i]});
        lines.push_back(counters_record_line(record, block));
    }
    return lines;
}

}  // namespace vrn::data
