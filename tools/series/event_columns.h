// The numbers in the rows of an event type, found once for all of its rows.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "data/schema/type_definition.h"
#include "metrics/store/value_types.h"

namespace vrn::series {

// One element of a field, somewhere in the row.
struct FieldPlace {
    std::uint64_t offset;  // bytes from the start of the row
    vrn_value_form_t form;
    std::uint8_t spare_bits;
};

struct EventColumn {
    std::string name;  // "type.field", dotted when nested, with the index of an array's element
    FieldPlace place;
    bool is_running_sum;

    metrics::ValueType value_type() const;
};

// A field that tells rows apart.
struct EventLabel {
    std::string name;  // of the field, dotted when nested
    FieldPlace place;
    std::uint64_t text_size;  // of a text; 0 for a number

    std::string text(const std::uint8_t *row) const;
};

struct EventColumns {
    // A type may describe more numbers than anyone can look at.
    static constexpr std::size_t max_columns = 10'000;

    std::vector<EventColumn> columns;
    std::vector<EventLabel> labels;
    std::optional<std::uint64_t> time_offset;  // of the first field of type "timestamp"
    bool is_whole = true;                      // false: there are more than max_columns
};

// The 64 bits of a number in `row`, as metrics::store_sample() takes them: a float as a double, an
// integer widened.
std::uint64_t number_bits(const FieldPlace &place, const std::uint8_t *row);

// Of rows of `type->size` bytes, which is what bounds the work. `takes` chooses columns by name;
// `label_fields` aren't columns, and neither are texts and the time.
EventColumns find_event_columns(const vrn_type_definition_t &type,
                                const std::vector<std::string> &label_fields,
                                const std::function<bool(const std::string &name)> &takes);

}  // namespace vrn::series
