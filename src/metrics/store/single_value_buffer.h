// Storage policy of a series: the last element only.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vrn::data {

// The operations of CircularBuffer with a capacity of 1, whatever is asked for.
template <typename T>
class SingleValueBuffer {
  public:
    explicit SingleValueBuffer(std::uint64_t /*capacity*/) {}

    void push(T value) {
        value_ = std::move(value);
        has_value_ = true;
    }

    std::uint64_t size() const { return has_value_ ? 1 : 0; }
    static constexpr std::uint64_t capacity() { return 1; }

    // Throws std::out_of_range unless `index` is 0 and there is a value.
    const T &operator[](std::uint64_t index) const {
        if (index != 0 || !has_value_)
            throw std::out_of_range("SingleValueBuffer index out of range");
        return value_;
    }

    void copy(std::uint64_t first, std::uint64_t count, std::vector<T> *out) const {
        out->clear();
        if (count > 0) out->push_back((*this)[first]);
    }

  private:
    T value_{};
    bool has_value_ = false;
};

}  // namespace vrn::data
