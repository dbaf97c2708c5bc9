// Builds byte fixtures in readable steps, each field stated.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace vrn::test {

class ByteBuilder {
  public:
    ByteBuilder &text(std::string_view value) { return raw(value.data(), value.size()); }
    // A NUL-padded field of `width` bytes; a longer text is cut.
    ByteBuilder &field(std::string_view value, std::size_t width) {
        text(value.substr(0, width));
        return zeros(width - std::min(width, value.size()));
    }
    ByteBuilder &u8(std::uint8_t value) { return number(value); }
    ByteBuilder &u16(std::uint16_t value) { return number(value); }
    ByteBuilder &u32(std::uint32_t value) { return number(value); }
    ByteBuilder &u64(std::uint64_t value) { return number(value); }
    ByteBuilder &i64(std::int64_t value) { return number(value); }
    ByteBuilder &f32(float value) { return number(value); }
    ByteBuilder &f64(double value) { return number(value); }
    ByteBuilder &zeros(std::size_t count) {
        bytes_.append(count, '\0');
        return *this;
    }
    ByteBuilder &pad_to(std::size_t size) {
        return zeros(size > bytes_.size() ? size - bytes_.size() : 0);
    }
    ByteBuilder &raw(const void *data, std::size_t size) {
        bytes_.append(static_cast<const char *>(data), size);
        return *this;
    }
    ByteBuilder &raw(const std::string &bytes) { return raw(bytes.data(), bytes.size()); }

    // The bytes so far; a std::string so that tests can edit and compare them.
    const std::string &done() const { return bytes_; }

  private:
    template <typename T>
    ByteBuilder &number(T value) {
        return raw(&value, sizeof value);  // little-endian host
    }
    std::string bytes_;
};

}  // namespace vrn::test
