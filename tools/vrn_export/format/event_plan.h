// What is exported of the rows of one event type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "data/schema/type_definition.h"
#include "vrn_export/format/record_selection.h"
#include "vrn_export/format/row_value.h"

namespace vrn::exporter {

// A field and, when its elements are records, the fields of one.
struct FieldNode {
    const vrn_type_field_definition_t *field;
    bool is_guid_word;  // shown as one: a scalar of 8 bytes
    std::vector<FieldNode> fields{};

    bool is_text() const;
    bool is_array() const { return !is_guid_word && !is_text() && field->array_length != 1; }
    bool is_record() const { return !fields.empty(); }
};

// Borrows the type.
struct EventPlan {
    const vrn_type_definition_t *type;
    std::vector<FieldNode> fields;  // empty: nothing of it is selected
    // Of the row; without one the time of the block counts.
    std::optional<std::uint64_t> time_offset;
    bool is_too_wide = false;  // for its values to be told one by one

    std::uint64_t time_of(const std::uint8_t *row, std::uint64_t block_time) const {
        return time_offset ? load_le<std::uint64_t>(row + *time_offset) : block_time;
    }
};

// Rows may have so many values, and so many bytes of their dotted names.
inline constexpr std::size_t max_row_values = 1 << 18;
inline constexpr std::size_t max_row_name_bytes = 32 << 20;

// Of two fields of a record with one name the first gives the place and the last the value, as in
// all output of this system. Only for types of which whole rows are there: its size grows with
// theirs.
EventPlan make_event_plan(const vrn_type_definition_t &type, const RecordSelection &selection);

// Of one element of a field that is no record.
RowValue row_value_of(const FieldNode &node, std::uint64_t offset);

// Walks the values of one row in order. A Sink has
//   void begin_record(), void end_record(), void begin_array(), void end_array(),
//   void key(const FieldNode &) before the value of a field,
//   void element(std::size_t index) before that of an array's element,
//   void value(const RowValue &).
template <typename Sink>
class FieldWalk {
  public:
    explicit FieldWalk(Sink &sink) : sink_(sink) {}

    // The fields of a record, without its beginning and end.
    void members(const std::vector<FieldNode> &fields, std::uint64_t offset) {
        for (const FieldNode &node : fields) {
            sink_.key(node);
            member(node, offset + node.field->offset);
        }
    }

  private:
    void member(const FieldNode &node, std::uint64_t offset) {
        if (!node.is_array()) return element(node, offset);
        sink_.begin_array();
        for (std::size_t i = 0; i < node.field->array_length; ++i) {
            sink_.element(i);
            element(node, offset + i * node.field->type_size);
        }
        sink_.end_array();
    }

    void element(const FieldNode &node, std::uint64_t offset) {
        if (!node.is_record()) return sink_.value(row_value_of(node, offset));
        sink_.begin_record();
        members(node.fields, offset);
        sink_.end_record();
    }

    // Borrowed.
    Sink &sink_;
};

// A value with the names of the fields that lead to it and the indexes of elements between:
// "track.0.x".
struct Leaf {
    std::string name;
    RowValue value;
};

// Bounds for what is learned of schemas before there are rows: a few bytes of one could claim more.
inline constexpr std::size_t max_learned_values = 1 << 14;
inline constexpr std::size_t max_learned_name_bytes = 1 << 20;

// False also for a plan that is too wide.
bool is_within(const EventPlan &plan, std::size_t max_values, std::size_t max_name_bytes);

// The values of a plan that is not too wide, in the order of the walk.
std::vector<Leaf> flatten(const EventPlan &plan);

}  // namespace vrn::exporter
