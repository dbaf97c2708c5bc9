#include "sql/metrics_scan.h"

namespace vrn::sql {

const StagedBlock *BlockStream::next() {
    // A piece may have no blocks: its pages were passed over, or held other records.
    while (next_ >= reader_.blocks().size()) {
        next_ = 0;
        if (!reader_.next_piece()) return nullptr;
    }
    return &reader_.blocks()[next_++];
}

}  // namespace vrn::sql
