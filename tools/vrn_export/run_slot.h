// One run of chunks on its way from the input to the output.
#pragma once

#include "scan/chunk_feed.h"
#include "vrn_export/format/encoder.h"

namespace vrn::exporter {

// Used for one run after the other it keeps its memory.
struct RunSlot {
    scan::ChunkRun run;
    Encoded encoded;
    scan::ChunkRunEnd end{};
};

}  // namespace vrn::exporter
