#include "metrics/labels_walk.h"

#include <stdexcept>

#include "utils/log.h"

namespace vrn::metrics {

void fail_labels(const char *what) {
    VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] parse_labels_block: %s", what);
    throw std::runtime_error(what);
}

void fail_labels_start(std::size_t size, std::uint64_t start_offset) {
    if (size == 0) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] parse_labels_block: invalid data pointers");
        throw std::runtime_error("invalid data pointers in parse_labels_block");
    }
    // There is a byte at the offset, but not the three of a header.
    if (size > start_offset) fail_labels("insufficient data for header");
    VRN_LOG(VRN_LOG_ERROR,
            "[vrn labels block] parse_labels_block: start_offset (%lu) exceeds data size (%zu)",
            start_offset, size);
    throw std::runtime_error("start_offset exceeds data size");
}

void fail_label_encoding(char encoding) {
    VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] parse_labels_block: invalid encoding type '%c'",
            encoding);
    throw std::runtime_error("invalid encoding type");
}

void fail_label_sub_encoding(char encoding) {
    VRN_LOG(VRN_LOG_ERROR, "[vrn labels block] parse_labels_block: invalid sub-encoding type '%c'",
            encoding);
    throw std::runtime_error("invalid sub-encoding type");
}

}  // namespace vrn::metrics
