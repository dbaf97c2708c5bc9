// Counters rows as JSON text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "counters/counter_value.h"
#include "counters/counters_schema.h"
#include "data/text/json_text.h"
#include "data/text/local_time_text.h"
#include "utils/byte_reader.h"

namespace vrn {

// Writes the rows of one schema to one text; both must outlive it.
class CountersText {
  public:
    // Throws std::bad_alloc.
    CountersText(const vrn_counters_schema_t &schema, JsonText &text);

    // Appends what parson prints for vrn_counters_row_to_json. False, with nothing appended, when
    // out of memory.
    bool write(std::uint64_t timestamp, Bytes values, bool microseconds);

  private:
    class Sink;
    // Side by side in memory, as rows may have thousands.
    struct Counter {
        std::uint32_t offset;
        std::uint32_t key_size;
        vrn_counter_form_t form;
    };
    struct Group {
        std::vector<Counter> counters;
        std::string keys;  // prepared ones, one behind the other; empty before the first row
    };

    void add_group(const vrn_counter_group_t &group, bool convert_guids);
    static void prepare_keys(const vrn_counter_group_t &from, const JsonText &text, Group *group);
    bool write_text(std::uint64_t timestamp, const CounterRow &row, bool microseconds);

    const vrn_counters_schema_t &schema_;
    JsonText &text_;
    std::vector<Group> groups_;
    // A key that is set twice keeps its first place and its last value: a matter for a tree.
    bool needs_tree_ = false;
    LocalTimeText time_;
};

}  // namespace vrn
