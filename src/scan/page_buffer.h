// Room for the decoded bytes of one compressed page after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "scan/fault.h"
#include "utils/byte_reader.h"
#include "utils/c_ptr.h"

namespace vrn::scan {

class PageBuffer {
  public:
    // Not cleared, so that room which a page does not fill takes no memory. False, with errno set,
    // when memory runs out; the buffer is empty then.
    [[nodiscard]] bool reserve(std::size_t size);

    // Decodes the page whose header is at `header` into the `room` bytes that were reserved for it,
    // with slack after them. False when the stream is damaged, after a line of the decoder; errno
    // is ENOMEM when memory ran out instead.
    [[nodiscard]] bool decode(const void *header, std::size_t room, Bytes *payload);

  private:
    CPtr<std::uint8_t, std::free> bytes_;
    std::size_t size_ = 0;
};

}  // namespace vrn::scan
