// Calls that go on, or fail in silence, where memory runs out.
#pragma once

#include <cerrno>
#include <new>

namespace vrn {

// Result of `call`. Throws std::bad_alloc when an allocation in it failed, as errno tells, whether
// it got over that or not.
template <typename Call>
auto with_memory(Call call) {
    errno = 0;
    auto result = call();
    if (errno == ENOMEM) throw std::bad_alloc();
    return result;
}

}  // namespace vrn
