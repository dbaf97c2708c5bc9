// The quick way through a member of a gzip file. It knows good streams only: of anything else it
// gives up, and zlib, which is asked again from the member's start, says what is wrong and where.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "utils/byte_reader.h"

namespace vrn {

class FastInflate {
  public:
    // No header that is taken is longer.
    static constexpr std::size_t max_header_size = 1024;

    enum class State : std::uint8_t {
        open,
        ended,  // the member is whole and its checksum right
        lost,   // no good stream, as far as is known here
    };

    // Null where this build or this machine has none; also when memory runs out.
    [[nodiscard]] static std::unique_ptr<FastInflate> create();
    virtual ~FastInflate() = default;

    // Begins the member at the start of `*input` and steps over its header. False for a header of
    // another form than most programs write, or one that is not all there.
    [[nodiscard]] virtual bool begin(Bytes *input) = 0;

    // The next bytes of the member, valid until the next call; steps `*input` on. Empty when all of
    // `*input` is used and more is needed, and once the state is not `open` any more.
    virtual Bytes next(Bytes *input) = 0;

    virtual State state() const = 0;
};

}  // namespace vrn
