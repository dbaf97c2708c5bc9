// Whether the times of a file's blocks are those that its header tells.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "data/data_file_header.h"

namespace vrn::check {

// Times are microseconds since the epoch; 0 is no time.
class TimeCheck {
  public:
    void begin(const vrn_data_file_header_t &header) {
        first_ = header.first_timestamp;
        last_ = header.last_timestamp;
    }

    // True when `time` lies before the time of the block before by more than the header's span.
    bool jumps_back(std::uint64_t time) {
        if (time == 0) return false;
        lowest_ = std::min(lowest_, time);
        highest_ = std::max(highest_, time);
        const std::uint64_t before = std::exchange(before_, time);
        return first_ != 0 && last_ >= first_ && before > time && before - time > last_ - first_;
    }

    std::uint64_t span() const { return last_ - first_; }

    // What is wrong with the header's times; empty when they hold for the blocks so far.
    std::string fault() const {
        const bool begins_late = first_ != 0 && lowest_ < first_;
        const bool ends_early = last_ != 0 && highest_ > last_;
        const bool is_inverted = last_ != 0 && first_ > last_;
        if (!begins_late && !ends_early && !is_inverted) return "";
        std::string text =
            "The header tells of times " + std::to_string(first_) + " to " + std::to_string(last_);
        if (highest_ != 0)
            text +=
                ", the blocks have " + std::to_string(lowest_) + " to " + std::to_string(highest_);
        return text;
    }

  private:
    std::uint64_t first_ = 0;
    std::uint64_t last_ = 0;
    std::uint64_t before_ = 0;
    std::uint64_t lowest_ = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t highest_ = 0;
};

}  // namespace vrn::check
