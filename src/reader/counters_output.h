// Output of counters data blocks.
#pragma once

#include <memory>
#include <optional>

#include "counters/counters_json_writer.h"
#include "counters/counters_table.h"
#include "counters/metadata.h"
#include "reader/file_output.h"
#include "scan/loaded_schemas.h"
#include "scan/visitor.h"

namespace vrn::reader {

// Lasts over a run: what is prepared for a schema serves all of its rows.
class CountersOutput {
  public:
    // The schemas of the blocks that follow.
    void use_schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas);
    // What enriches the blocks of the next file, whose visitor owns it; may be null.
    void use_metadata(const vrn_metadata_t *metadata);

    // Prints the block when its time is taken. False when it can't be printed, after a message.
    bool show(const scan::CountersBlock &block, FileOutput *output);

  private:
    [[nodiscard]] bool print_json(const scan::CountersBlock &block, FileOutput *output);
    [[nodiscard]] bool print_table(const scan::CountersBlock &block, const FileOutput *output);

    std::weak_ptr<const scan::LoadedSchemas> schemas_;
    const vrn_metadata_t *metadata_ = nullptr;
    // Made at the schemas' first row.
    std::optional<CountersJsonWriter> json_;
    std::optional<CountersTable> table_;
};

}  // namespace vrn::reader
