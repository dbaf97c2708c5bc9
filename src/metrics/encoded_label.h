// Labels of a record or histogram as its labels block gives them.
#pragma once

#include <cstdint>
#include <string>

namespace vrn::metrics {

// How the values of one labels block are laid out.
enum class LabelEncoding : char {
    ids = 'L',    // one byte each, an index into the block's label values
    texts = 'I',  // u8 length and text each
    mixed = 'M',  // each value preceded by 'L' or 'I'
};

enum class LabelKeyType : std::uint32_t {
    label_value_id = 0,
    label_value = 1,
};

struct EncodedLabel {
    LabelKeyType key_type;
    std::uint64_t label_value_id;  // 0 for a label given as text
    std::string label_value;       // empty for a label given by id
};

}  // namespace vrn::metrics
