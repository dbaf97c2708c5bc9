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

    // Room for `count` more bytes; returns where they go.
    char *reserve(std::size_t count) {
        if (count > capacity_ - size_) grow(count);
        return buffer_.get() + size_;
    }
    void advance_to(const char *end) { size_ = static_cast<std::size_t>(end - buffer_.get()); }
    void grow(std::size_t count);
    char *line_break(char *out) const;
    void open(char bracket);
    void close(char bracket);
    // `key` is stored in whole steps.
    void member(std::string_view key);
    bool integer(std::uint64_t value);
    bool signed_integer(std::int64_t value);

    std::unique_ptr<char[]> buffer_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
    std::size_t level_ = 0;
    bool is_empty_ = true;  // nothing stands in the innermost object or array yet
    bool pretty_;
};

}  // namespace vrn
