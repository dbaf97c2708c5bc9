// Bounded view of the values of one counters row.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "utils/byte_reader.h"

namespace vrn {

// Counters are found at offsets that a schema claims and a row needn't reach: what lies beyond the
// bytes at hand reads as zeros. Doesn't own the bytes.
class CounterRow {
  public:
    explicit CounterRow(Bytes values) : values_(values) {}

    template <typename T>
    T read(std::uint64_t offset) const {
        static_assert(std::is_trivially_copyable_v<T>);
        if (values_.size() >= sizeof(T) && offset <= values_.size() - sizeof(T))
            return load_le<T>(values_.data() + offset);
        const Bytes bytes = at(offset, sizeof(T));
        T value{};
        if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }

    // The bytes at hand among the `length` ones at `offset`.
    Bytes at(std::uint64_t offset, std::uint64_t length) const {
        if (offset >= values_.size()) return {};
        return values_.subspan(offset, std::min<std::uint64_t>(length, values_.size() - offset));
    }

    // Text of at most `length` bytes, up to its first zero byte.
    std::string_view text(std::uint64_t offset, std::uint64_t length) const {
        const Bytes bytes = at(offset, length);
        const auto *first = reinterpret_cast<const char *>(bytes.data());
        return {first, bytes.empty() ? 0 : ::strnlen(first, bytes.size())};
    }

  private:
    Bytes values_;
};

}  // namespace vrn
