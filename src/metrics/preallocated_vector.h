// Byte buffer that never grows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "utils/byte_reader.h"

namespace vrn::metrics {

// What doesn't fit throws std::out_of_range with the name of the operation and changes nothing.
class PreallocatedVector {
  public:
    // `capacity` in bytes.
    explicit PreallocatedVector(std::size_t capacity)
        : data_(std::make_unique<std::uint8_t[]>(capacity)), capacity_(capacity) {}

    template <typename T>
    void push_back(const T &value) {
        static_assert(std::is_trivially_copyable_v<T>);
        require_room(sizeof value, "PreallocatedVector::push_back");
        write(size_, &value, sizeof value);
    }

    void append(Bytes bytes);

    // Moves the bytes from `offset` on to after the new ones. An offset past the end throws, too.
    void insert(std::size_t offset, Bytes bytes);

    Bytes bytes() const { return {data_.get(), size_}; }
    std::size_t capacity() const { return capacity_; }

  private:
    void require_room(std::size_t count, const char *operation) const;
    void write(std::size_t offset, const void *from, std::size_t count);

    std::unique_ptr<std::uint8_t[]> data_;
    std::size_t capacity_;
    std::size_t size_ = 0;
};

}  // namespace vrn::metrics
