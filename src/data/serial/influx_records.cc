#include "data/serial/influx_records.h"

#include <cctype>
#include <iterator>
#include <utility>

#include "data/selection/name_tables.h"
#include "utils/byte_reader.h"

namespace vrn::data {

namespace {

std::string guid_text(std::string_view digits) {
    return std::string("0x").append(digits);
}

// Sorts the counters of a schema into the lines of a page.
class RecordSorter {
  public:
    RecordSorter(const Tags &tags, const vrn_data_page_t &page, const vrn_counters_schema_t *schema)
        : tags_(tags), schema_(schema) {
        std::string node_guid;
        std::string system_image_guid;
        for (const vrn_hca_info_t &hca : page.hca_info) {
            // Places needn't be filled from the first one on.
            if (field_text(hca.hca_name).empty()) continue;
            // A node is known by its first adapter.
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
        // Keeps what is there: tags of this file win over global ones.
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
        // The first port is always there, a second one only where it has a GUID.
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
            // No line for it, but its values take their places in the row.
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
        // Deliberate: only these letters tell of an adapter, also where one has another name.
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

}  // namespace

std::vector<vrn_influx_line_record_t> influx_counters_records(const Tags &tags,
                                                              const vrn_data_page_t &page,
                                                              const vrn_counters_schema_t *schema) {
    return RecordSorter(tags, page, schema).sort();
}

}  // namespace vrn::data
