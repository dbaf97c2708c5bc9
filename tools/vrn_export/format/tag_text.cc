#include "vrn_export/format/tag_text.h"

#include "data/text/double_text.h"
#include "data/text/value_text.h"

namespace vrn::exporter {

// Tags take any text, so floats that are no finite number are written as well.
void append_tag_text(const RowValue &value, const std::uint8_t *row, TextBuffer *to) {
    switch (value.form) {
        case ValueForm::unsigned_integer:
        case ValueForm::time:
            return to->integer(read_unsigned(value, row));
        case ValueForm::signed_integer:
            return to->integer(read_signed(value, row));
        case ValueForm::float32:
        case ValueForm::float64:
            return to->advance_to(
                write_shortest_double(to->reserve(DOUBLE_TEXT_ROOM), read_double(value, row)));
        case ValueForm::unsigned128:
        case ValueForm::signed128:
            return to->advance_to(write_wide_integer(to->reserve(wide_integer_size), value, row));
        case ValueForm::text:
            return to->append(read_text(value, row));
        case ValueForm::bits64:
        case ValueForm::bits128:
            return to->advance_to(write_bits(to->reserve(VALUE_TEXT_ROOM), value, row));
        case ValueForm::missing:
            return;
    }
}

}  // namespace vrn::exporter
