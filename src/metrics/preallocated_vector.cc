#include "metrics/preallocated_vector.h"

#include <cstring>
#include <stdexcept>

namespace vrn::metrics {

void PreallocatedVector::append(Bytes bytes) {
    require_room(bytes.size(), "PreallocatedVector::append");
    write(size_, bytes.data(), bytes.size());
}

void PreallocatedVector::insert(std::size_t offset, Bytes bytes) {
    constexpr char operation[] = "PreallocatedVector::insert";
    if (offset > size_) throw std::out_of_range(operation);
    require_room(bytes.size(), operation);
    std::uint8_t *const place = data_.get() + offset;
    if (!bytes.empty()) std::memmove(place + bytes.size(), place, size_ - offset);
    write(offset, bytes.data(), bytes.size());
}

void PreallocatedVector::require_room(std::size_t count, const char *operation) const {
    if (count > capacity_ - size_) throw std::out_of_range(operation);
}

void PreallocatedVector::write(std::size_t offset, const void *from, std::size_t count) {
    if (count == 0) return;
    std::memcpy(data_.get() + offset, from, count);
    size_ += count;
}

}  // namespace vrn::metrics
