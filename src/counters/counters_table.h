// Counters rows as text tables.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "counters/counter_row.h"
#include "counters/counters_schema.h"
#include "data/text/local_time_text.h"
#include "data/text/text_buffer.h"
#include "utils/byte_reader.h"

namespace vrn {

// Writes the rows of one schema. All of a table but its values is made once.
class CountersTable {
  public:
    // The schema isn't needed any more after that. Throws std::bad_alloc.
    explicit CountersTable(const vrn_counters_schema_t &schema);

    // Appends the time and the table of each group. Values are taken from 8-byte slots, see
    // vrn_counters_row_print. Throws std::bad_alloc.
    void write(std::uint64_t timestamp, Bytes values, bool microseconds, TextBuffer *text);

  private:
    struct Cell {
        std::uint32_t data_type;
        std::uint32_t format;
    };
    struct Group {
        std::string head;  // up to the first set
        std::string rule;
        std::size_t label_width;
        std::uint32_t num_sets;
        std::vector<Cell> cells;
    };

    static Group prepare(const vrn_counter_group_t &group);
    static void write_group(const Group &group, const CounterRow &row, TextBuffer &text);
    static void write_cell(const Cell &cell, const CounterRow &row, std::uint64_t offset,
                           TextBuffer &text);

    std::vector<Group> groups_;
    LocalTimeText time_;
};

}  // namespace vrn
