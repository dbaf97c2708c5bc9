#include "support/failing_allocation.h"

#include <cstdlib>
#include <new>

namespace vrn::test {

int allocations_left = -1;

}  // namespace vrn::test

void *operator new(std::size_t size) {
    int &left = vrn::test::allocations_left;
    const bool is_the_one = left == 0;
    if (left >= 0) --left;
    void *memory = is_the_one ? nullptr : std::malloc(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}

void operator delete(void *memory) noexcept {
    std::free(memory);
}

void operator delete(void *memory, std::size_t /*unused*/) noexcept {
    std::free(memory);
}
