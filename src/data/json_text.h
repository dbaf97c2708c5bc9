// JSON text, written from front to back into one buffer that is used again and again. The bytes are
// those that parson prints for the same values.
#pragma once

#include <parson.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

#include "data/digits.h"
#include "data/json_name.h"

namespace vrn {

enum class JsonLayout { compact, pretty };

// Functions throw std::bad_alloc when the buffer can't grow.
class JsonText {
  public:
    explicit JsonText(JsonLayout layout) : pretty_(layout == JsonLayout::pretty) {}

    // Valid until the next change.
    std::string_view view() const { return {buffer_.get(), size_}; }
    void clear() { rewind({}); }

    // A place to come back to, when what was begun there has no text.
    struct Mark {
        std::size_t size = 0;
        std::size_t level = 0;
        bool is_empty = true;
    };
    Mark mark() const { return {size_, level_, is_empty_}; }
    void rewind(const Mark &mark);

    void begin_object() { open('{'); }
    void end_object() { close('}'); }
    void begin_array() { open('['); }
    void end_array() { close(']'); }

    // Between the elements of an array, also before the first.
    void element() { member({}); }
    // Key of the next value of an object.
    void key(const vrn_json_name_t &name) { member({name.key, name.key_size}); }
    void key(std::string_view name);

    // False, with nothing written, for a NaN or an infinity.
    bool number(double value);
    bool number(float value) { return number(static_cast<double>(value)); }
    // Any integer, printed as the double nearest to it.
    template <typename T>
    requires std::is_integral_v<T>
    bool number(T value) {
        if constexpr (std::is_signed_v<T>) {
            return signed_integer(value);
        } else {
            return integer(value);
        }
    }
    // "0x" and 16 digits, in quotes.
    void hex(std::uint64_t value);
    // False, with nothing written, when `text` isn't UTF-8.
    bool string(std::string_view text);

    // A string that isn't checked to be UTF-8, as the names of members.
    void escaped(std::string_view text);
    void literal(std::string_view text);
    // A whole parson value; false when parson can't print it.
    bool tree(const JSON_Value *value);

  private:
    // Writable bytes behind those that reserve() gave: copies go in steps.
    static constexpr std::size_t slack = 2 * VRN_JSON_KEY_STEP;
    static constexpr std::size_t indent_size = 4;
    // Sign, 17 digits, point, exponent of a number: 24 bytes at most.
    static constexpr std::size_t max_number_size = 32;
    // Up to here all integers are doubles.
    static constexpr std::uint64_t exact_limit = std::uint64_t{1} << 53;

    // Room for `count` more bytes; returns where they go.
    char *reserve(std::size_t count) {
        if (count > capacity_ - size_) grow(count);
        return buffer_.get() + size_;
    }
    void advance_to(const char *end) { size_ = static_cast<std::size_t>(end - buffer_.get()); }
    void grow(std::size_t count);
    // Room must have been reserved.
    char *line_break(char *out) const {
        static constexpr char blanks[] = "\n                               ";
        static_assert(sizeof blanks == VRN_JSON_KEY_STEP + 1);
        std::memcpy(out, blanks, VRN_JSON_KEY_STEP);
        const std::size_t size = 1 + level_ * indent_size;
        if (size > VRN_JSON_KEY_STEP)
            std::memset(out + VRN_JSON_KEY_STEP, ' ', size - VRN_JSON_KEY_STEP);
        return out + size;
    }
    void open(char bracket);
    void close(char bracket);
    // `key` is stored in whole steps.
    void member(std::string_view key) {
        char *out = reserve(key.size() + 3 + level_ * indent_size);
        *out = ',';
        out += is_empty_ ? 0 : 1;
        is_empty_ = false;
        if (pretty_) out = line_break(out);
        for (std::size_t done = 0; done < key.size(); done += VRN_JSON_KEY_STEP)
            std::memcpy(out + done, key.data() + done, VRN_JSON_KEY_STEP);
        out += key.size();
        if (pretty_ && !key.empty()) *out++ = ' ';
        advance_to(out);
    }
    bool integer(std::uint64_t value) {
        if (value > exact_limit) return number(static_cast<double>(value));
        advance_to(write_digits(reserve(max_number_size), value));
        return true;
    }
    bool signed_integer(std::int64_t value) {
        if (value >= 0) return integer(static_cast<std::uint64_t>(value));
        const std::uint64_t magnitude = -static_cast<std::uint64_t>(value);
        if (magnitude > exact_limit) return number(static_cast<double>(value));
        *reserve(1) = '-';
        ++size_;
        return integer(magnitude);
    }

    std::unique_ptr<char[]> buffer_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::size_t level_ = 0;
    bool is_empty_ = true;  // nothing stands in the innermost object or array yet
    bool pretty_;
};

}  // namespace vrn
