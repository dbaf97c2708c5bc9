// Bounded access to bytes that others made.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>

namespace vrn {

// Files and streams are little-endian; so is every host this builds for.
static_assert(std::endian::native == std::endian::little);

using Bytes = std::span<const std::uint8_t>;

inline Bytes bytes_of(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

template <typename T>
T load_le(const void *from) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// Cursor over a byte range that it does not own; copy it to look ahead.
// A read succeeds and advances, or fails and changes nothing.
class ByteReader {
  public:
    explicit ByteReader(Bytes bytes) : rest_(bytes) {}

    std::size_t remaining() const { return rest_.size(); }

    template <typename T>
    [[nodiscard]] bool read(T *out) {
        if (remaining() < sizeof(T)) return false;
        *out = load_le<T>(rest_.data());
        rest_ = rest_.subspan(sizeof(T));
        return true;
    }

    [[nodiscard]] bool bytes(std::size_t count, Bytes *out) {
        if (remaining() < count) return false;
        *out = rest_.first(count);
        rest_ = rest_.subspan(count);
        return true;
    }

    [[nodiscard]] bool text(std::size_t length, std::string_view *out) {
        Bytes raw;
        if (!bytes(length, &raw)) return false;
        *out = {reinterpret_cast<const char *>(raw.data()), raw.size()};
        return true;
    }

    [[nodiscard]] bool skip(std::size_t count) {
        Bytes ignored;
        return bytes(count, &ignored);
    }

  private:
    Bytes rest_;
};

// Text of a NUL-padded field: up to its first NUL, or all of it when it is full.
template <std::size_t N>
std::string_view field_text(const char (&field)[N]) {
    return {field, ::strnlen(field, N)};
}

}  // namespace vrn
