#include "data/text_buffer.h"

#include <algorithm>

namespace vrn {

void TextBuffer::grow(std::size_t count) {
    constexpr std::size_t first_capacity = 4096;
    const std::size_t capacity = std::max({first_capacity, capacity_ * 2, size_ + count});
    auto larger = std::make_unique_for_overwrite<char[]>(capacity + slack);
    if (size_ > 0) std::memcpy(larger.get(), buffer_.get(), size_);
    buffer_ = std::move(larger);
    capacity_ = capacity;
}

}  // namespace vrn
