#include "metrics/labels_block.h"

#include <stdexcept>

#include "utils/log.h"

namespace vrn::metrics {
namespace {

constexpr std::uint64_t header_size = 3;

[[noreturn]] void fail(const char *what) {
    VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] parse_labels_block: %s", what);
    throw std::runtime_error(what);
}

EncodedLabel by_id(std::uint8_t id) {
    return {.key_type = LabelKeyType::label_value_id, .label_value_id = id, .label_value = {}};
}

EncodedLabel by_text(std::string_view text) {
    return {.key_type = LabelKeyType::label_value,
            .label_value_id = 0,
            .label_value = std::string(text)};
}

void read_ids(ByteReader &reader, std::size_t count, std::vector<EncodedLabel> *labels) {
    Bytes ids;
    if (!reader.bytes(count, &ids)) fail("insufficient data for 'L' encoding");
    for (const std::uint8_t id : ids) {
        VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] L label value id [%zu]: %u", labels->size(), id);
        labels->push_back(by_id(id));
    }
}

void read_texts(ByteReader &reader, std::size_t count, std::vector<EncodedLabel> *labels) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint8_t length = 0;
        std::string_view text;
        if (!reader.read(&length)) fail("insufficient data for 'I' encoding length");
        if (!reader.text(length, &text)) fail("insufficient data for 'I' encoding string");
        labels->push_back(by_text(text));
        VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] I label value [%zu]: '%s'", i,
                labels->back().label_value.c_str());
    }
}

void read_mixed_text(ByteReader &reader, std::vector<EncodedLabel> *labels) {
    std::uint8_t length = 0;
    std::string_view text;
    if (!reader.read(&length)) fail("insufficient data for 'M/I' encoding length");
    if (!reader.text(length, &text)) fail("insufficient data for 'M/I' encoding string");
    labels->push_back(by_text(text));
    VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] parsed M/I label value [%zu]: '%s'",
            labels->size() - 1, labels->back().label_value.c_str());
}

void read_mixed_id(ByteReader &reader, std::vector<EncodedLabel> *labels) {
    std::uint8_t id = 0;
    if (!reader.read(&id)) fail("insufficient data for 'M/L' encoding id");
    VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] parsed M/L label value id [%zu]: %u", labels->size(),
            id);
    labels->push_back(by_id(id));
}

void read_mixed(ByteReader &reader, std::size_t count, std::vector<EncodedLabel> *labels) {
    for (std::size_t i = 0; i < count; ++i) {
        char encoding = 0;
        if (!reader.read(&encoding)) fail("insufficient data for 'M' encoding sub-type");
        switch (static_cast<LabelEncoding>(encoding)) {
            case LabelEncoding::texts:
                read_mixed_text(reader, labels);
                break;
            case LabelEncoding::ids:
                read_mixed_id(reader, labels);
                break;
            default:
                VRN_LOG(VRN_LOG_ERROR,
                        "[vrn labels block] parse_labels_block: invalid sub-encoding type '%c'",
                        encoding);
                throw std::runtime_error("invalid sub-encoding type");
        }
    }
}

void read_values(ByteReader &reader, LabelEncoding encoding, std::size_t count,
                 std::vector<EncodedLabel> *labels) {
    switch (encoding) {
        case LabelEncoding::ids:
            return read_ids(reader, count, labels);
        case LabelEncoding::texts:
            return read_texts(reader, count, labels);
        case LabelEncoding::mixed:
            return read_mixed(reader, count, labels);
    }
}

bool is_known(char encoding) {
    return encoding == 'L' || encoding == 'I' || encoding == 'M';
}

const std::string &text_of_id(std::uint64_t id, const std::vector<std::string> &label_values) {
    if (label_values.empty()) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] decode_label_value: empty label_values array");
        throw std::runtime_error("empty label_values array");
    }
    if (id >= label_values.size()) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn labels block] decode_label_value: invalid label id: %lu (max=%zu)", id,
                label_values.size() - 1);
        throw std::runtime_error("invalid label id");
    }
    if (label_values[id].empty()) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn labels block] decode_label_value: empty string at label_values[%lu]", id);
        throw std::runtime_error("invalid label value");
    }
    return label_values[id];
}

}  // namespace

const char *label_key_type_name(LabelKeyType type) {
    switch (type) {
        case LabelKeyType::label_value_id:
            return "label_value_id";
        case LabelKeyType::label_value:
            return "label_value";
    }
    return "unknown";
}

std::uint64_t parse_labels_block(Bytes data, std::uint64_t start_offset,
                                 std::uint64_t *label_set_id, std::vector<EncodedLabel> *labels,
                                 const char *caller) {
    if (data.empty()) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] parse_labels_block: invalid data pointers");
        throw std::runtime_error("invalid data pointers in parse_labels_block");
    }
    if (data.size() <= start_offset) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn labels block] parse_labels_block: start_offset (%lu) exceeds data size (%zu)",
                start_offset, data.size());
        throw std::runtime_error("start_offset exceeds data size");
    }
    if (data.size() - start_offset < header_size) fail("insufficient data for header");

    ByteReader reader(data.subspan(start_offset + header_size));
    *label_set_id = data[start_offset];
    const std::size_t count = data[start_offset + 1];
    const char encoding = static_cast<char>(data[start_offset + 2]);
    VRN_LOG(VRN_LOG_DEBUG,
            "[vrn labels block] parse_labels_block: header - label_set_id=%lu, "
            "encoded_label_value_count=%zu, encoding_type=%c, called by %s",
            *label_set_id, count, encoding, caller);
    if (!is_known(encoding)) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] parse_labels_block: invalid encoding type '%c'",
                encoding);
        throw std::runtime_error("invalid encoding type");
    }

    labels->clear();
    labels->reserve(count);
    read_values(reader, static_cast<LabelEncoding>(encoding), count, labels);
    const std::uint64_t position = data.size() - reader.remaining();
    VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] after decoding %c: %lu", encoding, position);
    if (labels->size() != count) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn labels block] parse_labels_block: processed %zu labels, expected %zu",
                labels->size(), count);
        throw std::runtime_error("label count mismatch");
    }
    return position;
}

std::string decode_label_value(const EncodedLabel &label,
                               const std::vector<std::string> &label_values) {
    if (label.key_type == LabelKeyType::label_value) return label.label_value;
    if (label.key_type != LabelKeyType::label_value_id) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn labels block] decode_label_value: unknown label key type: '%s'",
                label_key_type_name(label.key_type));
        throw std::runtime_error("unknown label key type");
    }
    try {
        return text_of_id(label.label_value_id, label_values);
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn labels block] decode_label_value: failed to parse label_id '%lu': %s",
                label.label_value_id, error.what());
        throw std::runtime_error("invalid label id format");
    }
}

std::vector<std::string> decode_label_values(const std::vector<EncodedLabel> &labels,
                                             const std::vector<std::string> &label_values) {
    std::vector<std::string> texts;
    texts.reserve(labels.size());
    for (std::size_t i = 0; i < labels.size(); ++i) {
        try {
            texts.push_back(decode_label_value(labels[i], label_values));
        } catch (const std::exception &error) {
            VRN_LOG(VRN_LOG_ERROR,
                    "[vrn labels block] decode_label_values: failed to decode label %zu: %s", i,
                    error.what());
            throw std::runtime_error("Failed to decode label value at index " + std::to_string(i) +
                                     ": " + error.what());
        }
    }
    return texts;
}

}  // namespace vrn::metrics
