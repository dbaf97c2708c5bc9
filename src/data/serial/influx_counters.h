// Counters rows as lines.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "counters/counter_group.h"
#include "data/text/text_buffer.h"
#include "utils/byte_reader.h"

namespace vrn::data {

// Appends the right side of a counter's field; `data` begins at the value.
void influx_write_counter(Bytes data, const vrn_counter_info_t &counter, TextBuffer *text);

// The lines of one record: what is the same in all of them is made once.
class InfluxCountersLine {
  public:
    // `start`: measurement and tags.
    explicit InfluxCountersLine(std::string start) : start_(std::move(start)) {}

    // `key` is escaped. The counter is borrowed; its value lies in the 8-byte place number `slot`.
    void add_field(std::string_view key, std::uint64_t slot, const vrn_counter_info_t *counter);

    // Appends the line of a block, whose bytes go to the end of its page. One whose fields take
    // more than `max_size` bytes ends somewhere after them: it is to be refused.
    void write(Bytes block, std::uint64_t max_size, TextBuffer *text) const;

  private:
    struct Field {
        std::string key;  // with the comma before and the equals sign after it
        std::uint64_t slot;
        const vrn_counter_info_t *counter;
    };

    std::string start_;
    std::vector<Field> fields_;
};

}  // namespace vrn::data
