// Output of events.
#pragma once

#include <cstdint>
#include <memory>

#include "reader/file_output.h"
#include "scan/loaded_schemas.h"
#include "scan/visitor.h"

namespace vrn::reader {

// Lasts over a run: the name patterns are matched once for all blocks of a type.
class EventOutput {
  public:
    // The schemas of the batches that follow.
    void use(const std::shared_ptr<const scan::LoadedSchemas> &schemas);

    // Prints the rows when their type is chosen. False, after a line, when one can't be printed.
    bool show(const scan::EventBatch &batch, FileOutput *output);

  private:
    enum class Choice : std::uint8_t { unknown, taken, left_out };

    std::weak_ptr<const scan::LoadedSchemas> schemas_;
    Choice choices_[VRN_SCHEMAS_BLOCK_MAX_IDS][VRN_MAX_TYPES]{};  // by schema and type index
};

}  // namespace vrn::reader
