// Counters rows as JSON text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "counters/counter_value.h"
#include "counters/counters_schema.h"
#include "counters/metadata.h"
#include "data/text/json_text.h"
#include "data/text/local_time_text.h"
#include "utils/byte_reader.h"

namespace vrn {

// Writes the rows of one schema to one text; both must outlive it, as must the metadata.
class CountersJsonWriter {
  public:
    // All that rows have in common is made here. `metadata` may be null. Throws std::bad_alloc.
    CountersJsonWriter(const vrn_counters_schema_t &schema, const vrn_metadata_t *metadata,
                       JsonText &text);

    // Appends what parson prints for vrn_counters_row_to_json() after vrn_metadata_enrich().
    // Nothing is appended when the metadata would make rows long without reason, which is told by
    // false after an error line, or memory runs out, by std::bad_alloc.
    [[nodiscard]] bool write(std::uint64_t timestamp, Bytes values, bool microseconds);

  private:
    class Sink;
    class Preparation;
    // What most counters are has a way of its own.
    enum class Shape : std::uint8_t { uint64_number, int64_number, double_number, other };
    // Before the value of a counter goes its piece: what ends the value before, which depends on
    // the labels of that, and its own key. Side by side in memory, as rows may have thousands.
    struct Counter {
        std::uint32_t offset;
        std::uint32_t piece_size;
        Shape shape;
    };
    // Of a counter, too, but seldom looked at.
    struct Detail {
        CounterJsonForm form;
        std::uint32_t end_size;  // of the part of its piece that ends the value before
    };
    struct Group {
        std::string members;  // the text from its object's bracket to that of its sets
        std::vector<Counter> counters;
        std::vector<Detail> details;  // one more, for the end of the last value
        std::string pieces;           // one after the other, and that end
        std::size_t max_size = 0;     // of the text of all counters, those of other shapes apart
    };

    [[nodiscard]] bool write_members(std::uint64_t timestamp, Bytes values, bool microseconds);
    [[nodiscard]] bool write_tree(std::uint64_t timestamp, Bytes values, bool microseconds);

    const vrn_counters_schema_t &schema_;
    const vrn_metadata_t *metadata_;
    JsonText &text_;
    std::vector<Group> groups_;
    // A key that is set twice keeps its first place and its last value: a matter for a tree.
    bool needs_tree_ = false;
    bool is_refused_ = false;
    LocalTimeText time_;
};

}  // namespace vrn
