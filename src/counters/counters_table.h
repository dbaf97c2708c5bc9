// Counters rows as text tables.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "counters/counter_row.h"
#include "counters/counters_schema.h"
#include "data/block.h"
#include "data/text/local_time_text.h"
#include "data/text/text_buffer.h"
#include "utils/byte_reader.h"

namespace vrn {

// Writes the rows of one schema. All of a table but its values is made once. Values are read from
// 8-byte slots in the order of the counters and not at their offsets: right only for rows of 8-byte
// values, deliberately. All groups start at the row's start.
class CountersTable {
  public:
    // The schema isn't needed any more after that. Throws std::bad_alloc.
    explicit CountersTable(const vrn_counters_schema_t &schema);

    // Appends the time and the table of each group. Throws std::bad_alloc.
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

// Prints the time and the tables of one row. `values` are the bytes at hand from the row's start
// on; what is missing reads as zeros.
void vrn_counters_row_print(std::FILE *stream, std::uint64_t timestamp, vrn::Bytes values,
                            const vrn_counters_schema_t *schema, bool microseconds);
// A row whose bytes follow `block` as far as the slots of all counter sets reach.
void vrn_counters_block_print(std::FILE *stream, const vrn_data_block_t *block,
                              const vrn_counters_schema_t *schema, bool microseconds);
