// JSON text, written from front to back. The bytes are those that parson prints for the same
// values.
#pragma once

#include <parson.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "data/text/json_name.h"
#include "data/text/json_scalar.h"
#include "data/text/json_string.h"
#include "data/text/text_buffer.h"

namespace vrn {

enum class JsonLayout { compact, pretty };

// Functions throw std::bad_alloc when the buffer can't grow.
class JsonText : public TextBuffer {
  public:
    explicit JsonText(JsonLayout layout);

    void clear() { rewind({}); }

    // A place to come back to, when what was begun there has no text.
    struct Mark {
        std::size_t size = 0;
        std::size_t level = 0;
        std::size_t is_empty = 1;
    };
    Mark mark() const { return {size(), level_, is_empty_}; }
    void rewind(const Mark &mark);

    void begin_object() { open('{'); }
    void end_object() { close('}'); }
    void begin_array() { open('['); }
    void end_array() { close(']'); }

    // Between the elements of an array, also before the first.
    void element() { advance_to(write_separator(reserve(separator_size_))); }
    // Key of the next value of an object.
    void key(const vrn_json_name_t &name) {
        char *out = reserve(separator_size_ + name.key_size);
        std::size_t comma = is_empty_;
        if (pretty_) {
            out = write_separator(out);
            comma = 1;
        }
        out = copy_in_steps(out, name.key + comma, name.key_size - comma);
        is_empty_ = 0;
        *out = ' ';
        advance_to(out + colon_gap_);
    }
    void key(std::string_view name);
    // Of a literal in which JSON has nothing to escape.
    template <std::size_t n>
    void plain_key(const char (&name)[n]) {
        char *out = write_separator(reserve(separator_size_ + n + 3));
        *out++ = '"';
        std::memcpy(out, name, n - 1);
        out += n - 1;
        *out++ = '"';
        *out++ = ':';
        *out = ' ';
        advance_to(out + colon_gap_);
    }
    // A member with a text; left out when that isn't UTF-8.
    void member(std::string_view name, std::string_view value) {
        const Mark start = mark();
        key(name);
        if (!string(value)) rewind(start);
    }

    // Text for many uses: what `write` appends after other members of an object, or elements of an
    // array, that lies `depth` levels inside. It begins with the comma between them.
    template <typename Write>
    std::string piece(std::size_t depth, Write write) const {
        JsonText text(pretty_ ? JsonLayout::pretty : JsonLayout::compact);
        text.set_level(level_ + depth);
        text.is_empty_ = 0;
        write(text);
        return std::string(text.view());
    }
    // Copies a piece. Up to `piece_slack` bytes after both ends are touched.
    static constexpr std::size_t piece_slack = VRN_JSON_KEY_STEP;
    static char *copy_in_steps(char *out, const char *from, std::size_t size) {
        char *const end = out + size;
        do {
            std::memcpy(out, from, step);
            out += step;
            from += step;
        } while (out < end);
        return end;
    }
    // As advance_to(), after pieces that go to the innermost object or array.
    void filled_to(char *end) {
        advance_to(end);
        is_empty_ = 0;
    }

    // False, with nothing written, for a NaN or an infinity.
    [[nodiscard]] bool number(double value) {
        char *end = write_json_number(reserve(JSON_SCALAR_ROOM), value);
        if (end) advance_to(end);
        return end != nullptr;
    }
    // Any integer, printed as the double nearest to it.
    template <std::integral T>
    bool number(T value) {
        using Wide = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;
        advance_to(write_json_number(reserve(JSON_SCALAR_ROOM), Wide{value}));
        return true;
    }
    // False, with nothing written, when `text` isn't UTF-8.
    [[nodiscard]] bool string(std::string_view text) {
        return append_checked_json_string(text, this);
    }

    // A whole parson value; false when parson can't print it.
    [[nodiscard]] bool tree(const JSON_Value *value);

  private:
    // Copies are made in whole steps; what is copied must be readable so far after its end.
    static constexpr std::size_t step = VRN_JSON_KEY_STEP;
    static_assert(step <= slack);

    // What stands before a member or element: a comma, except before the first, and a line break.
    char *write_separator(char *out) {
        out = copy_in_steps(out, &separator_[is_empty_], separator_size_ - is_empty_);
        is_empty_ = 0;
        return out;
    }
    void set_level(std::size_t level);
    void open(char bracket);
    void close(char bracket);

    bool pretty_;
    std::size_t colon_gap_;     // blanks after a colon
    std::size_t is_empty_ = 1;  // 1 when nothing stands in the innermost object or array yet
    std::size_t level_ = 0;
    std::string separator_;  // a comma, a line break and the blanks of the deepest level so far
    std::size_t separator_size_ = 1;  // of this level
};

}  // namespace vrn
