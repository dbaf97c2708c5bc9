#include "metrics/labels_block.h"

#include <stdexcept>

#include "metrics/labels_walk.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// Copies the labels and shows them at debug level.
class ShowingCollector {
  public:
    ShowingCollector(char encoding, std::vector<EncodedLabel> *labels)
        : prefix_(encoding == 'M' ? "parsed M/" : ""), labels_(labels) {}

    void id(std::size_t index, std::uint8_t id) {
        VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] %sL label value id [%zu]: %u", prefix_, index,
                id);
        labels_.id(index, id);
    }
    void text(std::size_t index, std::string_view text) {
        VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] %sI label value [%zu]: '%.*s'", prefix_, index,
                static_cast<int>(text.size()), text.data());
        labels_.text(index, text);
    }

  private:
    const char *prefix_;
    LabelCollector labels_;
};

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
    const LabelsHeader header = read_labels_header(data, start_offset);
    const std::size_t count = header.count;
    *label_set_id = header.label_set_id;
    VRN_LOG(VRN_LOG_DEBUG,
            "[vrn labels block] parse_labels_block: header - label_set_id=%lu, "
            "encoded_label_value_count=%zu, encoding_type=%c, called by %s",
            *label_set_id, count, header.encoding, caller);
    // The vector may come from an earlier call, for its memory.
    labels->clear();
    labels->reserve(count);
    const std::uint64_t values_offset = start_offset + LABELS_HEADER_SIZE;
    ShowingCollector sink(header.encoding, labels);
    const std::uint64_t position =
        values_offset + walk_label_values(header, data.subspan(values_offset), sink);
    VRN_LOG(VRN_LOG_DEBUG, "[vrn labels block] after decoding %c: %lu", header.encoding, position);
    // Deliberate: by the walk above this can't happen; the check stays for sinks to come.
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
    // Deliberate: the cause is logged and another text thrown in its place, so that callers see one
    // fault for all bad ids.
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
