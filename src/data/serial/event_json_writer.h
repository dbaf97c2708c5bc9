// Event records as JSON text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "data/schema/type_definition.h"
#include "data/text/json_text.h"

namespace vrn {

// Writes the records of one type to one text; both must outlive it.
class EventJsonWriter {
  public:
    // What the records have in common is made here, once. Throws std::bad_alloc.
    EventJsonWriter(const vrn_type_definition_t &type, JsonText &text);

    // Appends one record of `type.size` bytes: what parson prints for vrn_event_to_json. Nothing is
    // appended when the record can't be expressed, which is told by false, or memory runs out, by
    // std::bad_alloc. Give records 8 bytes of readable slack.
    [[nodiscard]] bool write(const void *record);

  private:
    class Preparation;
    enum class Kind : std::uint8_t {
        unsigned_number,
        signed_number,
        float_number,
        double_number,
        hex,
        text,      // `count` characters
        repeat,    // begins an array of `count` elements
        next,      // goes on with the next one; `count` bytes of its piece stand before that
        end,       // of the record
        unusable,  // a field without a type
    };
    // What stands before a value, its piece, and the value. Pieces lie one after the other.
    struct Step {
        Kind kind;
        std::uint8_t spare_bits = 0;  // see vrn_type_field_definition_t
        std::uint16_t count = 0;
        std::size_t piece_size = 0;
        std::uint64_t offset = 0;      // in the record, or in the element of the innermost array
        std::uint64_t value_bits = 0;  // of an unsigned number: those of its word
    };
    // An array on the way through it.
    struct Loop {
        const Step *first;  // its `repeat`
        const char *piece;  // of the step after that
        const std::uint8_t *outer;
        unsigned left;  // elements after this one
    };

    [[nodiscard]] char *write_steps(const std::uint8_t *record);
    [[nodiscard]] bool write_tree(const void *record);

    const vrn_type_definition_t &type_;
    JsonText &text_;
    std::vector<Step> steps_;
    std::vector<const vrn_type_field_definition_t *> fields_;  // of steps, null if they need none
    std::string pieces_;
    std::vector<Loop> loops_;   // open ones, the outermost first
    std::size_t max_size_ = 0;  // of the text of all steps, each taken once
    // A member that is set twice keeps its first place and its last value: a matter for a tree.
    bool needs_tree_ = false;
};

}  // namespace vrn
