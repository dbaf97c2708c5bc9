// A one-to-one map that is searched from both sides.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace vrn::metrics {

class ReverseIndex {
  public:
    // Throws std::runtime_error when the key or the value exists.
    void insert(std::uint64_t key, std::uint32_t value);

    // These throw std::runtime_error when there is no such pair.
    std::uint32_t value_of(std::uint64_t key) const;
    std::uint64_t key_of(std::uint32_t value) const;

    bool contains_value(std::uint32_t value) const { return keys_.contains(value); }

    // Estimate in bytes, from counts.
    std::size_t footprint() const;

  private:
    std::unordered_map<std::uint64_t, std::uint32_t> values_;
    std::unordered_map<std::uint32_t, std::uint64_t> keys_;
};

}  // namespace vrn::metrics
