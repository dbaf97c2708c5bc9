// The head of a data file: its header, and the schemas that this names.
#pragma once

#include <cstdint>

#include "data/data_file_header.h"
#include "scan/byte_source.h"
#include "scan/schemas_in_use.h"
#include "scan/visitor.h"

namespace vrn::scan {

// Sizes of chunks that a file may have, in bytes.
inline constexpr std::uint32_t min_chunk_size = 16;
inline constexpr std::uint32_t chunk_size_limit = 125829120;  // one above the highest

// Reads and checks the header and makes its schemas current. False when the file has failed, or
// after a fault that the visitor doesn't pass over.
[[nodiscard]] bool read_file_head(ByteSource *source, SchemasInUse *schemas, Visitor *visitor,
                                  vrn_data_file_header_t *header);

// Tells of a fault that lies at no block. False when the visitor ends the file.
bool accepts_fault(FaultKind kind, std::uint64_t offset, const char *reason, Visitor *visitor);

}  // namespace vrn::scan
