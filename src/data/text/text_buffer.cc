#include "data/text/text_buffer.h"

#include <algorithm>

namespace vrn {

void TextBuffer::grow(std::size_t count) {
    constexpr std::size_t first_capacity = 4096;
    const std::size_t used = size();
    const auto capacity = static_cast<std::size_t>(limit_ - buffer_.get());
    const std::size_t larger = std::max({first_capacity, capacity * 2, used + count});
    // Doubled, so that the copies of a growing text cost as much as the text.
    auto buffer = std::make_unique_for_overwrite<char[]>(larger + slack);
    if (used > 0) std::memcpy(buffer.get(), buffer_.get(), used);
    buffer_ = std::move(buffer);
    end_ = buffer_.get() + used;
    limit_ = buffer_.get() + larger;
}

}  // namespace vrn
