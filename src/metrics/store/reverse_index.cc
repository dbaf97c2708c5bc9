#include "metrics/store/reverse_index.h"

#include <stdexcept>

#include "utils/rollback.h"

namespace vrn::metrics {
namespace {

template <typename Map>
auto find_or_throw(const Map &map, typename Map::key_type key, const char *error) {
    const auto found = map.find(key);
    if (found == map.end()) throw std::runtime_error(error);
    return found->second;
}

template <typename Map>
std::size_t footprint_of(const Map &map) {
    return 28 * map.size() + 8 * map.bucket_count();
}

}  // namespace

void ReverseIndex::insert(std::uint64_t key, std::uint32_t value) {
    // Both sides before either is written, so that they can't get out of step.
    if (values_.contains(key) || keys_.contains(value))
        throw std::runtime_error("[ReverseIndex] Duplicate key or value detected.");
    values_.emplace(key, value);
    vrn::Rollback added([&] { values_.erase(key); });
    keys_.emplace(value, key);
    added.keep();
}

std::uint32_t ReverseIndex::value_of(std::uint64_t key) const {
    return find_or_throw(values_, key, "[ReverseIndex] Key not found.");
}

std::uint64_t ReverseIndex::key_of(std::uint32_t value) const {
    return find_or_throw(keys_, value, "[ReverseIndex] Value not found.");
}

std::size_t ReverseIndex::footprint() const {
    return footprint_of(values_) + footprint_of(keys_);
}

}  // namespace vrn::metrics
