// Text, written from front to back into one buffer that is used again and again.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "data/text/number_text.h"

namespace vrn {

// Functions throw std::bad_alloc when the buffer can't grow.
class TextBuffer {
  public:
    // Writable bytes after those that reserve() gives: copies may go in steps.
    static constexpr std::size_t slack = 32;
    static_assert(slack >= NUMBER_TEXT_SLACK);

    // Valid until the next change.
    std::string_view view() const { return {buffer_.get(), size()}; }
    std::size_t size() const { return static_cast<std::size_t>(end_ - buffer_.get()); }
    void clear() { cut(0); }
    // Back to a size that the text had before.
    void cut(std::size_t size) { end_ = buffer_.get() + size; }

    // Room for `count` more bytes; returns where they go. What is written there counts from
    // advance_to() on.
    char *reserve(std::size_t count) {
        if (count > static_cast<std::size_t>(limit_ - end_)) grow(count);
        return end_;
    }
    void advance_to(char *end) { end_ = end; }

    void append(std::string_view text) {
        char *out = reserve(text.size());
        if (!text.empty()) std::memcpy(out, text.data(), text.size());
        end_ = out + text.size();
    }
    void append(char character) {
        *reserve(1) = character;
        ++end_;
    }
    void append(std::size_t count, char character) {
        std::memset(reserve(count), character, count);
        end_ += count;
    }

    template <std::integral T>
    void integer(T value) {
        advance_to(write_integer(reserve(INTEGER_TEXT_SIZE), value));
    }
    // As printf's "%f".
    void fixed(double value) { advance_to(write_fixed(reserve(FIXED_TEXT_SIZE), value)); }

  private:
    void grow(std::size_t count);

    std::unique_ptr<char[]> buffer_;
    char *end_ = nullptr;    // of the text
    char *limit_ = nullptr;  // of the room
};

}  // namespace vrn
