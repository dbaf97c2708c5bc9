// Times as text in the time zone of the process.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Text of microseconds since the epoch, with 6 or 3 digits after the point, which the caller frees;
// null when the time can't be broken down.
[[nodiscard]] char *vrn_format_timestamp(std::uint64_t timestamp, bool microseconds);
[[nodiscard]] char *vrn_format_timestamp_ms(std::uint64_t timestamp);

namespace vrn {

// Makes the texts of vrn_format_timestamp() for times that mostly rise.
class LocalTimeText {
  public:
    // Valid until the next call; empty when the time can't be broken down. A time is broken down
    // once for all texts of its second.
    std::string_view of(std::uint64_t timestamp, bool microseconds);

  private:
    [[nodiscard]] bool begin_second(std::uint64_t second);

    std::uint64_t second_ = UINT64_MAX;  // that `text_` begins with; none of a timestamp
    std::size_t prefix_size_ = 0;        // up to the point
    std::string text_;
};

}  // namespace vrn
