#include "metrics/record_section.h"

#include <stdexcept>

#include "metrics/section_mark.h"

namespace vrn::metrics {

RecordSection find_record_section(Bytes range, std::string_view closing_mark) {
    const Bytes section = find_mark(range, "CNTD");
    if (section.empty()) {
        VRN_LOG(VRN_LOG_ERROR,
                "[vrn metrics parser] Invalid binary data format: Missing 'CNTD' magic number");
        throw std::runtime_error("Missing 'CNTD' magic number in the binary data");
    }
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] data_len = %zu", section.size());
    // Looked for at the end alone: its bytes may occur in a record.
    if (!is_closed_by(section, closing_mark))
        throw std::runtime_error("Invalid magic numbers in the binary data");

    // The two marks differ, so they don't overlap and the section has at least 12 bytes.
    const Bytes base = section.subspan(MARK_SIZE);
    const RecordSection found = {.base = base,
                                 .end_offset = base.size() - TRAILER.size(),
                                 .blocksize = load_le<std::uint32_t>(base.data())};
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] End of data at %zu", found.end_offset);
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] blocksize= %u", found.blocksize);
    return found;
}

}  // namespace vrn::metrics
