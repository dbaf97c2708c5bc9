// Copies to and from memory that may be gone, without a signal.
#pragma once

#include <cstddef>

namespace vrn {

// Copies `size` bytes by way of the kernel. A byte on either side that the process has no memory
// for, as after the end of a mapped file that shrank, gives false with errno set, where plain
// access would end the process; bytes before it may have been copied by then.
[[nodiscard]] bool guarded_copy(void *to, const void *from, std::size_t size);

}  // namespace vrn
