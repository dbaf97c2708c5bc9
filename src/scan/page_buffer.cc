#include "scan/page_buffer.h"

#include <cstring>

#include "data/compressed_page.h"

namespace vrn::scan {

bool PageBuffer::reserve(std::size_t size) {
    if (bytes_ && size <= size_) return true;
    // Freed first: two pages never take memory at a time.
    bytes_.reset();
    bytes_.reset(static_cast<std::uint8_t *>(std::malloc(size + slack_size)));
    size_ = size;
    return bytes_ != nullptr;
}

bool PageBuffer::decode(const void *header, std::size_t room, Bytes *payload) {
    std::size_t size = 0;
    if (!vrn_compressed_page_decode_prefix(header, bytes_.get(), room, &size)) return false;
    // The page before may have left bytes there.
    std::memset(bytes_.get() + size, 0, slack_size);
    *payload = {bytes_.get(), size};
    return true;
}

}  // namespace vrn::scan
