// Input: start offset (u8), then the data that the labels block stands in.
#include <stdexcept>

#include "metrics/labels_block.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0) return 0;
    std::uint64_t label_set_id = 0;
    std::vector<vrn::metrics::EncodedLabel> labels;
    try {
        vrn::metrics::parse_labels_block({data + 1, size - 1}, data[0], &label_set_id, &labels, "");
        vrn::metrics::decode_label_values(labels, {"a", "", "c"});
    } catch (const std::runtime_error &) {
        return 0;  // what the callers catch
    }
    return 0;
}
