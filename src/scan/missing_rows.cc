#include "scan/missing_rows.h"

namespace vrn::scan {
std::string missing_rows(const EventBatch &batch) {
    if (batch.room < sizeof batch.header) return cut_header;
    return "Of " + std::to_string(batch.header.num_events) + " rows " +
           std::to_string(batch.count) + " are there";
}

std::string missing_rows(const CountersBlock &block) {
    if (block.room < sizeof block.header) return cut_header;
    return "Of a row of " + std::to_string(block.schema->size) + " bytes " +
           std::to_string(block.held) + " are there";
}

}  // namespace vrn::scan
