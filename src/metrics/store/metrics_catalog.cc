#include "metrics/store/metrics_catalog.h"

#include <algorithm>
#include <boost/container_hash/hash.hpp>
#include <map>
#include <stdexcept>

#include "utils/log.h"
#include "utils/rollback.h"

namespace vrn::metrics {
namespace {

using vrn::data::metrics::SymbolTable;

// Bytes of memory that a label set and each of its labels take in the maps.
constexpr std::uint64_t label_set_size = 200;
constexpr std::uint64_t label_size = 48;

std::size_t hash_of(const LabelIds &labels) {
    std::size_t hash = 0;
    // Deliberate: in the order of the map. Sets of the same pairs in another order are other sets.
    for (const auto &[name, value] : labels) {
        boost::hash_combine(hash, name);
        boost::hash_combine(hash, value);
    }
    return hash;
}

// Empty, after an error line, when `id` has no text.
std::string text_or_empty(const SymbolTable &symbols, std::uint64_t id, const char *what) {
    try {
        return symbols.lookup(id);
    } catch (const SymbolTable::SymbolNotFoundError &error) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn typed metrics data] Failed to get label %s: %s", what,
                error.what());
        return {};
    }
}

// The texts of a range of (name id, value id) pairs.
template <typename Pairs>
void resolve(const SymbolTable &symbols, const Pairs &labels, std::vector<std::string> *names,
             std::vector<std::string> *values) {
    names->clear();
    values->clear();
    for (const auto &[name, value] : labels) {
        names->push_back(text_or_empty(symbols, name, "name"));
        values->push_back(text_or_empty(symbols, value, "value"));
    }
}

}  // namespace

MetricsCatalog::MetricsCatalog(MetricCapacities capacities)
    : reserved_symbol_id_(boost::hash<std::string>()(RESERVED_NAME)),
      metric_capacities_(std::move(capacities)) {}

std::vector<std::uint64_t> MetricsCatalog::intern(const std::vector<std::string> &names) {
    std::vector<std::uint64_t> ids;
    ids.reserve(names.size());
    for (const std::string &name : names) ids.push_back(intern(name));
    return ids;
}

std::uint64_t MetricsCatalog::intern_labels(const LabelMap &labels) {
    LabelIds ids;
    for (const auto &[name, value] : labels) {
        const std::uint64_t value_id = intern_label(value);
        ids[intern_label(name)] = value_id;
    }
    return register_label_set(std::move(ids));
}

// The labels are moved into the table. NOLINTNEXTLINE(performance-unnecessary-value-param)
std::uint64_t MetricsCatalog::register_label_set(LabelIds labels) {
    const std::uint64_t hash = hash_of(labels);
    if (label_sets_.contains(hash)) return hash;
    require_room();
    const std::uint64_t size = label_set_size + label_size * labels.size();
    label_sets_.emplace(hash, std::move(labels));
    vrn::Rollback added([&] { label_sets_.erase(hash); });
    // Numbers are never used again, so a consumer may keep them.
    label_set_index_.insert(hash, next_label_set_number_);
    added.keep();
    ++next_label_set_number_;
    used_bytes_ += size;
    return hash;
}

void MetricsCatalog::add_label_uses(std::uint64_t label_set, std::uint64_t count) {
    const auto found = label_sets_.find(label_set);
    if (found == label_sets_.end() || count == 0) return;
    for (const auto &[name, value] : found->second) {
        symbols_.add_uses(name, count);
        symbols_.add_uses(value, count);
    }
}

void MetricsCatalog::release_labels(const LabelIds &labels) {
    for (const auto &[name, value] : labels) {
        symbols_.release(name);
        symbols_.release(value);
    }
}

bool MetricsCatalog::find_label_set(std::uint64_t label_set, LabelIds *labels) const {
    const auto found = label_sets_.find(label_set);
    if (found == label_sets_.end()) return false;
    *labels = found->second;
    return true;
}

LabelMap MetricsCatalog::labels_of(std::uint64_t label_set) const {
    LabelMap labels;
    const auto found = label_sets_.find(label_set);
    if (found == label_sets_.end()) return labels;
    for (const auto &[name_id, value_id] : found->second) {
        const std::string &name = symbols_.lookup(name_id);
        const std::string &value = symbols_.lookup(value_id);
        if (!name.empty() && !value.empty()) labels[name] = value;
    }
    return labels;
}

std::string MetricsCatalog::label_text(std::uint64_t label_set) const {
    const LabelMap labels = labels_of(label_set);
    // Sorted, so that one set has one text whatever the order of its map.
    std::string text;
    for (const auto &[name, value] : std::map(labels.begin(), labels.end())) {
        if (!text.empty()) text += '|';
        text += name;
        text += '=';
        text += value;
    }
    return text;
}

void MetricsCatalog::label_strings(const LabelIds &labels, std::vector<std::string> *names,
                                   std::vector<std::string> *values) const {
    resolve(symbols_, labels, names, values);
}

std::set<std::pair<std::uint64_t, std::uint64_t>> MetricsCatalog::all_labels() const {
    std::set<std::pair<std::uint64_t, std::uint64_t>> pairs;
    for (const auto &[hash, labels] : label_sets_) pairs.insert(labels.begin(), labels.end());
    return pairs;
}

void MetricsCatalog::all_label_strings(std::vector<std::string> *names,
                                       std::vector<std::string> *values) const {
    resolve(symbols_, all_labels(), names, values);
}

ValueType MetricsCatalog::metric_type(std::uint64_t metric_id) const {
    const auto found = metric_types_.find(metric_id);
    return found == metric_types_.end() ? ValueType::unknown : found->second;
}

void MetricsCatalog::set_metric_type(const std::string &name, ValueType type) {
    metric_types_[intern(name)] = type;
}

std::uint64_t MetricsCatalog::capacity_of(std::uint64_t metric_id) const {
    const auto found = metric_capacities_.find(metric_id);
    const std::uint64_t capacity =
        found == metric_capacities_.end() ? default_capacity_ : found->second;
    // A series without room for a sample would be of no use.
    return std::max<std::uint64_t>(capacity, 1);
}

void MetricsCatalog::require_type(std::uint64_t metric_id, ValueType type) {
    const auto known = metric_types_.find(metric_id);
    if (known == metric_types_.end()) {
        // Deliberate: without registration one name may have series of several types.
        if (register_types_) metric_types_.emplace(metric_id, type);
        return;
    }
    if (known->second != type)
        throw std::runtime_error("Type mismatch for metric '" + symbols_.lookup(metric_id) + "'");
}

void MetricsCatalog::print_metric_name(std::uint64_t metric_id) const {
    try {
        const std::string &name = symbols_.lookup(metric_id);
        VRN_LOG(VRN_LOG_INFO, "[vrn typed metrics data] Metric Name=%s", name.c_str());
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn typed metrics data] Failed to print metric name: %s",
                error.what());
    }
}

void MetricsCatalog::print_labels(const LabelIds &labels) const {
    for (const auto &[name_id, value_id] : labels) {
        try {
            const std::string &name = symbols_.lookup(name_id);
            const std::string &value = symbols_.lookup(value_id);
            VRN_LOG(VRN_LOG_INFO, "[vrn typed metrics data] [%s]=[%s]", name.c_str(),
                    value.c_str());
        } catch (const std::exception &error) {
            VRN_LOG(VRN_LOG_ERROR, "[vrn typed metrics data] Failed to print label: %s",
                    error.what());
        }
    }
}

std::size_t MetricsCatalog::catalog_footprint() const {
    // Deliberate: the numbers are fixed parts of an estimate that hosts compare over time, not
    // sizes of the types here.
    std::size_t bytes = 840 + (footprint_logger_ ? 96 : 0) + symbols_.footprint();
    for (const auto &[hash, labels] : label_sets_) bytes += 72 + 16 * labels.size();
    bytes += 8 * label_sets_.bucket_count();
    bytes += 24 * metric_capacities_.size() + 8 * metric_capacities_.bucket_count();
    return bytes + label_set_index_.footprint();
}

}  // namespace vrn::metrics
