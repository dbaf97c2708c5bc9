// What a store knows about its metrics, whatever the type of their values: names, value types,
// capacities and label sets. All of it is known by 64-bit ids: that of a name is its boost::hash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "metrics/cntx_block_tables.h"
#include "metrics/store/footprint_logger.h"
#include "metrics/store/reverse_index.h"
#include "metrics/store/symbol_table.h"
#include "metrics/store/value_types.h"

namespace vrn::metrics {

using LabelIds = std::unordered_map<std::uint64_t, std::uint64_t>;  // label name id to value id
using MetricCapacities = std::unordered_map<std::uint64_t, std::uint64_t>;  // by metric id

struct SeriesKey {
    std::uint64_t metric_id;
    std::uint64_t label_set;  // hash of the label set
    bool operator==(const SeriesKey &) const = default;
};

// Thrown by a store with a bound instead of making one more series or label set. No std::exception:
// a feed, which goes on after those, ends here.
struct StoreFull {};

// No lock: the owner serializes writes against reads.
class MetricsCatalog {
  public:
    // The name that no real metric has.
    static constexpr char RESERVED_NAME[] = "10fa4938-bda8-48d7-bb7f-3dc9288d9380";

    MetricsCatalog() : MetricsCatalog(MetricCapacities()) {}
    explicit MetricsCatalog(MetricCapacities capacities);

    // Id of a name. Each call adds one use of it.
    std::uint64_t intern(const std::string &name) { return symbols_.intern(name); }
    std::vector<std::uint64_t> intern(const std::vector<std::string> &names);

    const vrn::data::metrics::SymbolTable &symbols() const { return symbols_; }

    // Registers the set of these labels; returns its hash. Each call adds one use of every name and
    // value. Sets are told apart by the iteration order of their ids, too.
    std::uint64_t intern_labels(const LabelMap &labels);

    // From now on intern_labels() keeps names and values in the form that `form` gives them, which
    // differs for texts that differ. At the start they stay as they are.
    void set_label_form(std::string (*form)(std::string_view text)) { label_form_ = form; }

    // As if the set of this hash had been interned `count` times more. Unknown sets are ignored.
    void add_label_uses(std::uint64_t label_set, std::uint64_t count);

    // Registers a set of names and values that are ids already; adds no use. Throws StoreFull, as
    // intern_labels() does.
    std::uint64_t register_label_set(LabelIds labels);

    // Ends one use of every name and value.
    void release_labels(const LabelIds &labels);

    // Label sets by hash.
    const std::unordered_map<std::uint64_t, LabelIds> &label_sets() const { return label_sets_; }

    // Number of a registered label set, 10000 and up. Throws std::runtime_error when unknown.
    std::uint32_t label_set_number(std::uint64_t label_set) const {
        return label_set_index_.value_of(label_set);
    }

    // False when the set is unknown.
    [[nodiscard]] bool find_label_set(std::uint64_t label_set, LabelIds *labels) const;

    // The texts of a set without the pairs of which one is empty; empty for an unknown set. Throws
    // SymbolTable::SymbolNotFoundError.
    LabelMap labels_of(std::uint64_t label_set) const;
    LabelMap labels_of(const SeriesKey &key) const { return labels_of(key.label_set); }

    // "name=value" of each of labels_of(), sorted by name, with "|" between them.
    std::string label_text(std::uint64_t label_set) const;

    // Texts in the order of the map. What doesn't resolve is an empty text after an error line.
    void label_strings(const LabelIds &labels, std::vector<std::string> *names,
                       std::vector<std::string> *values) const;

    // The distinct (name id, value id) pairs of all sets.
    std::set<std::pair<std::uint64_t, std::uint64_t>> all_labels() const;
    void all_label_strings(std::vector<std::string> *names, std::vector<std::string> *values) const;

    // Value type of a metric. Asking by name adds a use of the name.
    ValueType metric_type(std::uint64_t metric_id) const;
    ValueType metric_type(const std::string &name) { return metric_type(intern(name)); }
    void set_metric_type(const std::string &name, ValueType type);

    // Whether new metrics get a value type; set at the start.
    bool register_types() const { return register_types_; }
    void set_register_types(bool register_types) { register_types_ = register_types; }

    // Whether histograms are stored as the plain series derived from them, which is what charts
    // show; not set at the start.
    bool derives_histograms() const { return derives_histograms_; }
    void set_derives_histograms(bool derives) { derives_histograms_ = derives; }

    // From now on feeds pass over the metrics whose names `takes` refuses. A histogram is taken by
    // its own name or, where it is derived from, by those of its derived series.
    void set_name_filter(std::function<bool(const std::string &name)> takes) {
        name_filter_ = std::move(takes);
    }
    bool has_name_filter() const { return name_filter_ != nullptr; }
    [[nodiscard]] bool takes_name(const std::string &name) const {
        return !name_filter_ || name_filter_(name);
    }

    // Samples in the buffers of new series.
    std::uint64_t default_capacity() const { return default_capacity_; }
    void set_default_capacity(std::uint64_t capacity) { default_capacity_ = capacity; }
    const MetricCapacities &metric_capacities() const { return metric_capacities_; }
    void set_metric_capacities(MetricCapacities capacities) {
        metric_capacities_ = std::move(capacities);
    }
    // At least 1.
    std::uint64_t capacity_of(std::uint64_t metric_id) const;

    // Nothing is added once series, with full buffers, and label sets take about this many bytes.
    // Input that isn't trusted can ask for any number of them; at the start there is no bound.
    void set_max_bytes(std::uint64_t bytes) { max_bytes_ = bytes; }

    // Shows the name of a metric, and each label of a set, at information level.
    void print_metric_name(std::uint64_t metric_id) const;
    void print_labels(const LabelIds &labels) const;

  protected:
    bool is_reserved(std::uint64_t metric_id) const { return metric_id == reserved_symbol_id_; }

    // Throws std::runtime_error when the metric has another type; enters it when it has none.
    void require_type(std::uint64_t metric_id, ValueType type);

    // Throws StoreFull.
    void require_room() const {
        if (used_bytes_ >= max_bytes_) throw StoreFull();
    }

    // Estimate in bytes, from counts.
    std::size_t catalog_footprint() const;

    std::unordered_map<std::uint64_t, ValueType> metric_types_;  // by metric id
    vrn::data::metrics::SymbolTable symbols_;
    std::uint64_t reserved_symbol_id_;
    bool register_types_ = true;
    MetricCapacities metric_capacities_;
    std::uint64_t default_capacity_ = 0;
    std::unordered_map<std::uint64_t, LabelIds> label_sets_;
    ReverseIndex label_set_index_;
    std::uint32_t next_label_set_number_ = 10000;
    std::unique_ptr<FootprintLogger> footprint_logger_;
    std::uint64_t used_bytes_ = 0;  // by series and label sets
    std::uint64_t max_bytes_ = std::numeric_limits<std::uint64_t>::max();

  private:
    std::uint64_t intern_label(const std::string &text) {
        return label_form_ ? intern(label_form_(text)) : intern(text);
    }

    std::string (*label_form_)(std::string_view text) = nullptr;
    bool derives_histograms_ = false;
    std::function<bool(const std::string &name)> name_filter_;
};

}  // namespace vrn::metrics
