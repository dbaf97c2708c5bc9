#include "series/counter_series.h"

#include <bit>
#include <cstring>
#include <span>
#include <string_view>

#include "counters/counter_value.h"
#include "counters/counters_row_walk.h"

namespace vrn::series {
namespace {

using MetadataByName = std::unordered_map<std::string_view, const vrn_metadata_entry_t *>;

// The first entry of a name counts.
MetadataByName by_name(const vrn_metadata_t *metadata) {
    MetadataByName entries;
    if (!metadata) return entries;
    const std::span all(metadata->entries, static_cast<std::size_t>(metadata->num_entries));
    for (const vrn_metadata_entry_t &entry : all) entries.try_emplace(entry.full_name, &entry);
    return entries;
}

metrics::ValueType value_type_of(const vrn_counter_info_t &counter) {
    switch (counter.data_type) {
        case VRN_DATA_UINT64:
            return metrics::ValueType::uint64;
        case VRN_DATA_BIT64:
            return metrics::ValueType::bits64;
        case VRN_DATA_FP64:
        case VRN_DATA_UINT128:
        case VRN_DATA_INT128:
            return metrics::ValueType::float64;
        default:
            return metrics::ValueType::int64;
    }
}

// No series holds 128 bits, and a curve doesn't miss the last ones.
double wide_value(const WideBytes &bytes, bool is_signed) {
    // Low half first, as on disk.
    std::uint64_t halves[2];
    std::memcpy(halves, bytes.data(), sizeof halves);
    const double high = is_signed ? static_cast<double>(std::bit_cast<std::int64_t>(halves[1]))
                                  : static_cast<double>(halves[1]);
    return high * 0x1p64 + static_cast<double>(halves[0]);
}

std::uint64_t counter_bits(const vrn_counter_info_t &counter, const CounterRow &row) {
    const Overloaded bits = {
        // Strings have no column, but the visit needs the case.
        [](StringCounter) { return std::uint64_t{0}; },
        [](UntypedCounter value) { return std::bit_cast<std::uint64_t>(value.number); },
        [&](const WideBytes &value) {
            return std::bit_cast<std::uint64_t>(
                wide_value(value, counter.data_type == VRN_DATA_INT128));
        },
        [](auto value) { return std::bit_cast<std::uint64_t>(value); },
    };
    return visit_counter(counter.data_type, row, counter.offset, bits);
}

}  // namespace

CounterSeries::CounterSeries(const vrn_counters_schema_t &schema, const vrn_metadata_t *metadata,
                             metrics::MetricsHistory *store)
    : store_(store) {
    const MetadataByName entries = by_name(metadata);
    for (const vrn_counter_group_t *group : std::span(schema.groups, schema.num_groups)) {
        // All sets of a group are made from the same bytes: one stands for all.
        for (const vrn_counter_info_t *counter : std::span(group->counters, group->num_counters)) {
            if (counter->data_type == VRN_DATA_STRING || !counter->name) continue;
            Column column = {counter, counter->name, {{"group", counter_group_name(*group)}}};
            if (const auto entry = entries.find(column.name); entry != entries.end()) {
                column.name = entry->second->short_name;
                const auto count = static_cast<std::size_t>(entry->second->num_labels);
                for (const auto &label : std::span(entry->second->labels, count))
                    column.labels.try_emplace(label.key, label.value);
            }
            // By the final name, which the metadata may have changed.
            if (store->takes_name(column.name)) columns_.push_back(std::move(column));
        }
    }
}

void CounterSeries::store(const scan::CountersBlock &block, const std::string &source) {
    const CounterRow row(block.row);
    const RowSeries &series = series_of(source);
    for (std::size_t i = 0; i < series.size(); ++i)
        // None where the store holds another type under that name, which has been noted.
        if (series[i])
            push_value(*series[i], block.header.timestamp, counter_bits(*columns_[i].counter, row),
                       store_);
}

const CounterSeries::RowSeries &CounterSeries::series_of(const std::string &source) {
    const auto found = series_.find(source);
    if (found != series_.end()) return found->second;
    RowSeries series;
    for (const Column &column : columns_) {
        metrics::LabelMap labels = column.labels;
        // Where the data came from wins over a label of the metadata.
        if (!source.empty()) labels["source"] = source;
        series.push_back(open_series(column.name, value_type_of(*column.counter),
                                     column.counter->counting_type == VRN_COUNTING_RUNNING_SUM,
                                     store_->intern_labels(labels), store_));
        if (!series.back()) takes_all_numbers_ = false;
    }
    return series_.emplace(source, std::move(series)).first->second;
}

}  // namespace vrn::series
