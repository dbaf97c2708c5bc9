// Local time texts, the same as those of vrn_format_timestamp, for times that mostly rise.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vrn {

class LocalTimeText {
  public:
    // Text of microseconds since the epoch, valid until the next call; empty when the time can't be
    // broken down. A time is broken down once for all texts of its second.
    std::string_view of(std::uint64_t timestamp, bool microseconds);

  private:
    bool begin_second(std::uint64_t second);

    std::uint64_t second_ = UINT64_MAX;  // that `text_` begins with; none of a timestamp
    std::size_t prefix_size_ = 0;        // up to the point
    std::string text_;
};

}  // namespace vrn
