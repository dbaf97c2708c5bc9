// The walk over blocks that stand in one buffer.
#pragma once

#include <cstddef>

#include "scan/fault.h"
#include "scan/schemas_in_use.h"
#include "scan/visitor.h"
#include "utils/byte_reader.h"

namespace vrn::scan {

// One block, or a run of event blocks.
struct BlockRun {
    Bytes bytes;  // all that the file holds of it
    Bytes reach;  // from the same start to the end of the buffer, which rows may go on in
    Place place;

    BlockRun from(std::size_t offset) const;
};

// Holds nothing but what it is given, so that threads may walk chunks of one file.
class BlockWalk {
  public:
    // Borrows both.
    BlockWalk(SchemasInUse *schemas, Visitor *visitor) : schemas_(schemas), visitor_(visitor) {}

    // Next::block when the run was walked to its end.
    Next walk(const BlockRun &run);

  private:
    Next show_counters(const BlockRun &run);
    Next report_no_schema(const BlockRun &run);
    Next report_unknown(const BlockRun &run);

    SchemasInUse *schemas_;
    Visitor *visitor_;
};

// The only way to make a fault; `format` is of the reason.
Fault make_fault(FaultKind kind, const Place &place, Bytes block, std::uint64_t lost,
                 const char *format, ...) __attribute__((format(printf, 5, 6)));

bool is_all_zero(Bytes bytes);

}  // namespace vrn::scan
