// Counters rows as JSON text.
#pragma once

#include <vector>

#include "counters/counter_value.h"
#include "counters/counters_schema.h"
#include "data/json_name.h"
#include "data/json_text.h"
#include "data/local_time_text.h"
#include "utils/byte_reader.h"

namespace vrn {

// Writes the rows of one schema, which must outlive it.
class CountersText {
  public:
    // Throws std::bad_alloc.
    explicit CountersText(const vrn_counters_schema_t &schema);

    // Appends what parson prints for vrn_counters_row_to_json. False, with nothing appended, when
    // out of memory.
    bool write(std::uint64_t timestamp, Bytes values, bool microseconds, JsonText *text);

  private:
    class Sink;
    struct Counter {
        vrn_json_name_ptr name;
        vrn_counter_form_t form;
    };

    bool write_text(std::uint64_t timestamp, const CounterRow &row, bool microseconds,
                    JsonText *text);

    const vrn_counters_schema_t &schema_;
    std::vector<std::vector<Counter>> groups_;
    // A key that is set twice keeps its first place and its last value: a matter for a tree.
    bool needs_tree_ = false;
    LocalTimeText time_;
};

}  // namespace vrn
