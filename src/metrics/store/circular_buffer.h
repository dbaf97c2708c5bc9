// Storage policy of a series: the last `capacity` elements.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vrn::data {

// Elements are counted by age, 0 the oldest held. The array is allocated once, by the constructor;
// numbers in it aren't cleared, so that a long one takes memory only as it fills.
template <typename T>
class CircularBuffer {
  public:
    // `capacity` is at least 1.
    explicit CircularBuffer(std::uint64_t capacity)
        : elements_(std::make_unique_for_overwrite<T[]>(capacity)), capacity_(capacity) {
        assert(capacity > 0);
    }

    // A full buffer gives up its oldest element.
    void push(T value) {
        if (size_ < capacity_) {
            elements_[size_++] = std::move(value);
            return;
        }
        elements_[head_] = std::move(value);
        head_ = (head_ + 1) % capacity_;
    }

    std::uint64_t size() const { return size_; }
    std::uint64_t capacity() const { return capacity_; }

    // `index` is below size().
    const T &operator[](std::uint64_t index) const {
        return elements_[(head_ + index) % capacity_];
    }

    // Replaces `out` by `count` elements from `first` on; all of them are held.
    void copy(std::uint64_t first, std::uint64_t count, std::vector<T> *out) const {
        const std::uint64_t begin = (head_ + first) % capacity_;
        const std::uint64_t unwrapped = std::min(count, capacity_ - begin);
        const T *const elements = elements_.get();
        out->assign(elements + begin, elements + begin + unwrapped);
        out->insert(out->end(), elements, elements + (count - unwrapped));
    }

  private:
    std::unique_ptr<T[]> elements_;
    std::uint64_t size_ = 0;
    std::uint64_t capacity_;
    std::uint64_t head_ = 0;  // the oldest element, once full
};

}  // namespace vrn::data
