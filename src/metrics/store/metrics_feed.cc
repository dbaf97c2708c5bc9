#include "metrics/store/metrics_feed.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "metrics/labels_block.h"
#include "metrics/metrics_parser.h"
#include "metrics/record_section.h"
#include "metrics/section_mark.h"
#include "metrics/store/histogram_store.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

using vrn::data::metrics::Bit64Tag;
using vrn::data::metrics::UInt64Tag;

constexpr std::size_t block_header_size = 8;

// Each label set of a block gets all constant labels, so a small block could ask for any amount of
// time and memory. Label sets are resolved once a block, and these bounds leave 136 labels to each
// record even if all are of the smallest size, 17 bytes, and no two have the same label set.
constexpr std::size_t free_labels = 100'000;
constexpr std::size_t labels_per_byte = 8;

template <typename T, typename Store>
void push_sample(StoredValue<T> value, const SampleContext &sample, const MetricFilter *filter,
                 Store *store) {
    auto &series = store->template get_series<T>(sample.key.metric_id, sample.key.label_set);
    // An unknown type tells nothing, so it replaces nothing.
    if (sample.metric_type != METRIC_TYPE_UNKNOWN) series.metric_type = sample.metric_type;
    const std::uint64_t size = series.values.size();
    // A double that is no number equals nothing, so it is always stored.
    if (filter && filter->skip_unchanged() && size > 0 && series.values[size - 1] == value) return;
    series.push(sample.timestamp, value);
}

// Throws what the store throws.
template <typename Store>
bool push_typed(std::uint32_t value_type, std::uint64_t value, const SampleContext &sample,
                const MetricFilter *filter, Store *store) {
    const char *const name = sample.name.c_str();
    switch (static_cast<ValueType>(value_type)) {
        case ValueType::float64: {
            const auto number = std::bit_cast<double>(value);
            VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Storing double metric %s: %f", name,
                    number);
            push_sample<double>(number, sample, filter, store);
            return true;
        }
        case ValueType::bits64:
            VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Storing bit64 metric %s: 0x%lx", name,
                    value);
            push_sample<Bit64Tag>(value, sample, filter, store);
            return true;
        case ValueType::int64: {
            const auto number = std::bit_cast<long>(value);
            VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Storing int64 metric %s: %ld", name,
                    number);
            push_sample<long>(number, sample, filter, store);
            return true;
        }
        case ValueType::string:
            VRN_LOG(VRN_LOG_WARNING,
                    "[vrn metrics parser] String value type in numeric metrics path for metric %s",
                    name);
            return false;
        case ValueType::uint64:
            break;
        default:
            VRN_LOG(VRN_LOG_WARNING,
                    "[vrn metrics parser] Unknown/unsupported value type %u for metric %s, falling "
                    "back to UInt64",
                    value_type, name);
    }
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Storing uint64 metric %s: %lu", name, value);
    push_sample<UInt64Tag>(value, sample, filter, store);
    return true;
}

// The records of one block on their way into a store.
template <typename Store>
class BlockFeed {
  public:
    BlockFeed(const CntxBlockTables &tables, std::size_t block_size, const MetricFilter *filter,
              Store *store)
        : tables_(tables),
          filter_(filter),
          store_(store),
          is_complete_(tables.has_all_histograms),
          labels_left_(free_labels + block_size * labels_per_byte) {
        if (!store->has_name_filter()) return;
        for (const std::string &name : tables.metric_names)
            takes_name_.push_back(store->takes_name(name));
    }

    BlockFeed(const BlockFeed &) = delete;
    BlockFeed &operator=(const BlockFeed &) = delete;

    // Each record counts as a use of its labels; those of repeated label sets are added here.
    ~BlockFeed() {
        for (const auto &[labels_block, set] : label_sets_)
            store_->add_label_uses(set.hash, set.repeats);
    }

    // In the order of their sections, from which they have the ids 0, 1, 2, ...: a series takes its
    // samples in the order of their times.
    void store_histograms() {
        const auto &histograms = tables_.histograms.histograms;
        for (std::uint64_t id = 0; id < histograms.size(); ++id) {
            Histogram histogram = histograms.at(id);
            histogram.label_set_id = intern_labels(histogram.label_set_id, histogram.label_values);
            if (!store_histogram(histogram, store_)) is_complete_ = false;
        }
    }

    // Stores the record that starts `data` and returns the bytes it takes.
    std::uint64_t store_record(Bytes data, const RecordSection &section) {
        StoreRecord record;
        VrnMetricsParser::decode_record_header(data, &record);
        const std::size_t labels_offset =
            RECORD_HEADER_SIZE + record.samples.samples.size() * sizeof(MetricSample);
        std::uint64_t label_set_id = 0;
        const std::uint64_t size = parse_labels_block(labels_data_of(data, section), labels_offset,
                                                      &label_set_id, &labels_, "unknown");
        // Before its labels take room in the store.
        if (!takes_any(record.samples.samples)) return size;
        const std::uint64_t label_set =
            label_set_of(data.subspan(labels_offset, size - labels_offset), label_set_id);
        for (const MetricSample sample : record.samples.samples)
            store_sample_of(record, label_set, sample);
        return size;
    }

    // False once a histogram or a sample was lost.
    bool is_complete() const { return is_complete_; }

  private:
    struct LabelSet {
        std::uint64_t hash = 0;
        std::uint64_t repeats = 0;  // records after the first one
    };

    bool takes(std::uint64_t sample_id) const {
        return sample_id >= takes_name_.size() || takes_name_[sample_id];
    }

    bool takes_any(const std::vector<MetricSample> &samples) const {
        return takes_name_.empty() || std::ranges::any_of(samples, [this](MetricSample sample) {
                   return takes(sample.sample_id);
               });
    }

    // The label set of the record whose labels block is `labels_block`, which holds `labels_`.
    std::uint64_t label_set_of(Bytes labels_block, std::uint64_t label_set_id) {
        const auto [entry, is_new] = label_sets_.try_emplace(
            {reinterpret_cast<const char *>(labels_block.data()), labels_block.size()});
        LabelSet &set = entry->second;
        if (is_new)
            set.hash =
                intern_labels(label_set_id, decode_label_values(labels_, tables_.label_values));
        else
            ++set.repeats;
        return set.hash;
    }

    std::uint64_t intern_labels(std::uint64_t label_set_id,
                                const std::vector<std::string> &values) {
        const std::size_t count = tables_.constant_labels.size() + values.size();
        if (count > labels_left_) throw std::runtime_error("too many labels in the block");
        labels_left_ -= count;
        return store_->intern_labels(resolve_labels(tables_, label_set_id, values));
    }

    void store_sample_of(const StoreRecord &record, std::uint64_t label_set, MetricSample sample) {
        const std::uint64_t sample_id = sample.sample_id;
        const std::uint64_t value = sample.sample_value;
        // Before the name is looked up. What stood before this sample in the block stays stored.
        if (sample_id >= tables_.metric_names.size()) {
            VRN_LOG(VRN_LOG_ERROR,
                    "[vrn metrics parser] invalid metric id: %lu, total metric names size: %zu",
                    sample_id, tables_.metric_names.size());
            throw std::runtime_error("invalid metric id");
        }
        if (!takes(sample_id)) return;
        const std::string &name = tables_.metric_names[sample_id];
        // Deliberate: this counts as a use of the name even when the filter then refuses the
        // sample.
        const std::uint64_t metric_id = store_->intern(name);
        if (filter_ && !store_->is_in_tables(metric_id) && !filter_->passes(name)) return;
        const SampleContext context = {.name = name,
                                       .key = {metric_id, label_set},
                                       .metric_type = record.metric_type,
                                       .timestamp = record.timestamp};
        if (!store_sample(record.value_type, value, context, filter_, store_)) {
            VRN_LOG(VRN_LOG_WARNING,
                    "[vrn metrics parser] Could not store metric %s (id=%lu, value=%lu) - "
                    "continuing with next metrics",
                    name.c_str(), sample_id, value);
            // Texts have no place in a store of numbers, which loses nothing by them.
            if (record.value_type != static_cast<std::uint32_t>(ValueType::string))
                is_complete_ = false;
        }
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] metric id: %lu, ts: %lu, name: %s, value: %lu",
                sample_id, record.timestamp, name.c_str(), value);
    }

    const CntxBlockTables &tables_;
    const MetricFilter *filter_;
    Store *store_;
    bool is_complete_;
    std::vector<bool> takes_name_;  // by index of the name; empty: all are taken
    std::size_t labels_left_;
    std::vector<EncodedLabel> labels_;  // of one record; kept for its memory
    std::unordered_map<std::string_view, LabelSet> label_sets_;  // by labels block
};

// False when something of the block was lost.
template <typename Store>
bool feed_block(Bytes block, const MetricFilter *filter, Store *store) {
    const CntxBlockTables tables = CntxBlockTables::parse(block);
    BlockFeed feed(tables, block.size(), filter, store);
    feed.store_histograms();
    const RecordSection section = find_record_section(block, TRAILER);
    walk_records(section, [&](Bytes data) { return feed.store_record(data, section); });
    return feed.is_complete();
}

}  // namespace

template <typename Store>
bool store_sample(std::uint32_t value_type, std::uint64_t value, const SampleContext &sample,
                  const MetricFilter *filter, Store *store) {
    try {
        return push_typed(value_type, value, sample, filter, store);
        // Not this sample alone: no other would find room, either.
    } catch (const StoreFull &) {
        throw;
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn metrics parser] Failed to store typed value for metric %s (type=%u, "
                "value=%lu): %s",
                sample.name.c_str(), value_type, value, error.what());
    } catch (...) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn metrics parser] Unknown exception while storing typed value for metric %s "
                "(type=%u, value=%lu)",
                sample.name.c_str(), value_type, value);
    }
    return false;
}

template <typename Store>
void parse_cntx_block_into_store(Bytes block, const MetricFilter *filter, Store *store) {
    feed_block(block, filter, store);
}

template <typename Store>
FeedResult feed_cntx_blocks(Bytes range, const MetricFilter *filter, Store *store) {
    FeedResult result = {.rest = range};
    for (Bytes hit = find_mark(range, "CNTX"); !hit.empty(); hit = find_mark(result.rest, "CNTX")) {
        if (hit.size() < block_header_size) {
            ++result.incomplete;
            break;
        }
        const auto total_size = load_le<std::uint32_t>(hit.data() + MARK_SIZE);
        if (total_size == 0) {  // would be found again and again
            VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] Invalid block size %u in CNTX block",
                    total_size);
            result.rest = hit.subspan(block_header_size);
            ++result.incomplete;
            continue;
        }
        const std::size_t size = std::min<std::size_t>(total_size, hit.size());
        result.rest = hit.subspan(size);
        try {
            result.incomplete += feed_block(hit.first(size), filter, store) ? 0 : 1;
            ++result.blocks;
        } catch (const std::exception &error) {
            VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] Could not parse CNTX block %zu: %s",
                    result.blocks + 1, error.what());
            ++result.incomplete;
        }
    }
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Processed %zu CNTX blocks", result.blocks);
    return result;
}

template <typename Store>
Bytes VrnMetricsParser::parse_cntx_blocks_into_store(Bytes range, const MetricFilter *filter,
                                                     Store *store) {
    return feed_cntx_blocks(range, filter, store).rest;
}

template bool store_sample(std::uint32_t, std::uint64_t, const SampleContext &,
                           const MetricFilter *, MetricsHistory *);
template bool store_sample(std::uint32_t, std::uint64_t, const SampleContext &,
                           const MetricFilter *, MetricsCurrent *);
template void parse_cntx_block_into_store(Bytes, const MetricFilter *, MetricsHistory *);
template void parse_cntx_block_into_store(Bytes, const MetricFilter *, MetricsCurrent *);
template FeedResult feed_cntx_blocks(Bytes, const MetricFilter *, MetricsHistory *);
template FeedResult feed_cntx_blocks(Bytes, const MetricFilter *, MetricsCurrent *);
template Bytes VrnMetricsParser::parse_cntx_blocks_into_store(Bytes, const MetricFilter *,
                                                              MetricsHistory *);
template Bytes VrnMetricsParser::parse_cntx_blocks_into_store(Bytes, const MetricFilter *,
                                                              MetricsCurrent *);

}  // namespace vrn::metrics
