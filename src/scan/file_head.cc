#include "scan/file_head.h"

#include "scan/block_walk.h"

namespace vrn::scan {

bool accepts_fault(FaultKind kind, std::uint64_t offset, const char *reason, Visitor *visitor) {
    const Place place = {.chunk = offset, .block = offset};
    return visitor->fault(make_fault(kind, place, {}, 0, "%s", reason)) != Next::nothing;
}

bool read_file_head(ByteSource *source, SchemasInUse *schemas, Visitor *visitor,
                    vrn_data_file_header_t *header) {
    if (source->read(header, sizeof *header) != sizeof *header) {
        accepts_fault(FaultKind::header_cut, 0, source->error_text(), visitor);
        return false;
    }
    visitor->header(*header);
    if (!vrn_data_file_header_validate(header) &&
        !accepts_fault(FaultKind::header_bad, 0, "Invalid data file header", visitor))
        return false;
    if (header->block_size < min_chunk_size || header->block_size >= chunk_size_limit) {
        visitor->fault(make_fault(FaultKind::block_size_bad, {}, {}, 0,
                                  "Block size %d must be in range between %zu and %d bytes ",
                                  static_cast<int>(header->block_size),
                                  static_cast<std::size_t>(min_chunk_size),
                                  static_cast<int>(chunk_size_limit)));
        return false;
    }
    schemas->set_counters_schema(header->counters_schema_id);
    return schemas->use(header->event_schema_ids, VRN_EVENT_SCHEMA_IDS) ||
           accepts_fault(FaultKind::schemas_missing, 0, "Failed to load type system", visitor);
}

}  // namespace vrn::scan
