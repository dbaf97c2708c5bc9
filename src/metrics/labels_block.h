// The labels block that ends every metric record and histogram, and its texts.
// Byte layout: label set id (u8), number of values (u8), encoding (u8), values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "metrics/encoded_label.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// "label_value_id", "label_value" or "unknown".
const char *label_key_type_name(LabelKeyType type);

// Parses the labels block at `start_offset` of `data`, which begins with the record that the block
// belongs to. Clears and fills `labels`. Returns the offset of what follows it, counted from
// the start of `data`. `caller` is shown at debug level. Throws std::runtime_error, after an error
// line, when the block is malformed or leaves `data`.
std::uint64_t parse_labels_block(Bytes data, std::uint64_t start_offset,
                                 std::uint64_t *label_set_id, std::vector<EncodedLabel> *labels,
                                 const char *caller);

// The text of a label. Throws std::runtime_error, after an error line, when its id names no
// non-empty text of `label_values`.
std::string decode_label_value(const EncodedLabel &label,
                               const std::vector<std::string> &label_values);

// One text for each label, in order; throws as soon as one has none.
std::vector<std::string> decode_label_values(const std::vector<EncodedLabel> &labels,
                                             const std::vector<std::string> &label_values);

}  // namespace vrn::metrics
