// The walk over the values of a labels block, in place: for those who collect them and for those
// who only look at them. Byte layout: labels_block.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "metrics/encoded_label.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

struct LabelsHeader {
    std::uint8_t label_set_id = 0;
    std::uint8_t count = 0;  // of values
    char encoding = 0;       // a LabelEncoding, unless it is invalid
};
inline constexpr std::size_t LABELS_HEADER_SIZE = 3;

// Ends the block with `what`, after an error line.
[[noreturn]] void fail_labels(const char *what);
[[noreturn]] void fail_labels_start(std::size_t size, std::uint64_t start_offset);
[[noreturn]] void fail_label_encoding(char encoding);
[[noreturn]] void fail_label_sub_encoding(char encoding);

// The header at `start_offset` of `data`; its encoding may be invalid.
inline LabelsHeader read_labels_header(Bytes data, std::uint64_t start_offset) {
    if (data.size() <= start_offset || data.size() - start_offset < LABELS_HEADER_SIZE)
        fail_labels_start(data.size(), start_offset);
    const std::uint8_t *header = data.data() + start_offset;
    return {header[0], header[1], static_cast<char>(header[2])};
}

template <typename Sink>
void walk_label_id(ByteReader &reader, std::size_t index, Sink &sink) {
    std::uint8_t id = 0;
    if (!reader.read(&id)) fail_labels("insufficient data for 'M/L' encoding id");
    sink.id(index, id);
}

struct LabelTextFaults {
    const char *no_length;
    const char *no_text;
};

template <typename Sink>
void walk_label_text(ByteReader &reader, std::size_t index, const LabelTextFaults &faults,
                     Sink &sink) {
    std::uint8_t length = 0;
    std::string_view text;
    if (!reader.read(&length)) fail_labels(faults.no_length);
    if (!reader.text(length, &text)) fail_labels(faults.no_text);
    sink.text(index, text);
}

template <typename Sink>
void walk_mixed_label(ByteReader &reader, std::size_t index, Sink &sink) {
    static constexpr LabelTextFaults faults = {"insufficient data for 'M/I' encoding length",
                                               "insufficient data for 'M/I' encoding string"};
    char encoding = 0;
    if (!reader.read(&encoding)) fail_labels("insufficient data for 'M' encoding sub-type");
    switch (static_cast<LabelEncoding>(encoding)) {
        case LabelEncoding::texts:
            return walk_label_text(reader, index, faults, sink);
        case LabelEncoding::ids:
            return walk_label_id(reader, index, sink);
        default:
            fail_label_sub_encoding(encoding);
    }
}

// Hands each value to `sink`: void id(std::size_t index, std::uint8_t id) or
// void text(std::size_t index, std::string_view text). `values` follows the header. Returns
// the bytes that the values take. Throws std::runtime_error, after an error line, when they leave
// `values` or are malformed.
template <typename Sink>
std::size_t walk_label_values(const LabelsHeader &header, Bytes values, Sink &sink) {
    static constexpr LabelTextFaults faults = {"insufficient data for 'I' encoding length",
                                               "insufficient data for 'I' encoding string"};
    ByteReader reader(values);
    switch (static_cast<LabelEncoding>(header.encoding)) {
        case LabelEncoding::ids:
            if (values.size() < header.count) fail_labels("insufficient data for 'L' encoding");
            for (std::size_t i = 0; i < header.count; ++i) sink.id(i, values[i]);
            return header.count;
        case LabelEncoding::texts:
            for (std::size_t i = 0; i < header.count; ++i) walk_label_text(reader, i, faults, sink);
            break;
        case LabelEncoding::mixed:
            for (std::size_t i = 0; i < header.count; ++i) walk_mixed_label(reader, i, sink);
            break;
        default:
            fail_label_encoding(header.encoding);
    }
    return values.size() - reader.remaining();
}

// A sink that copies the labels.
class LabelCollector {
  public:
    explicit LabelCollector(std::vector<EncodedLabel> *labels) : labels_(*labels) {}

    void id(std::size_t, std::uint8_t id) {
        labels_.push_back(
            {.key_type = LabelKeyType::label_value_id, .label_value_id = id, .label_value = {}});
    }
    void text(std::size_t, std::string_view text) {
        labels_.push_back({.key_type = LabelKeyType::label_value,
                           .label_value_id = 0,
                           .label_value = std::string(text)});
    }

  private:
    std::vector<EncodedLabel> &labels_;
};

}  // namespace vrn::metrics
