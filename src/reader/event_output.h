// Output of events.
#pragma once

#include <memory>
#include <optional>
#include <unordered_map>

#include "data/serial/event_json_writer.h"
#include "reader/file_output.h"
#include "scan/loaded_schemas.h"
#include "scan/visitor.h"

namespace vrn::reader {

// Lasts over a run: the name patterns are matched and what records have in common is prepared once
// for all blocks of a type.
class EventOutput {
  public:
    // The schemas of the batches that follow.
    void use(const std::shared_ptr<const scan::LoadedSchemas> &schemas);

    // Prints the rows when their type is chosen. False, after a line, when one can't be printed.
    bool show(const scan::EventBatch &batch, FileOutput *output);

  private:
    struct Type {
        bool is_chosen;
        std::optional<EventJsonWriter> json = {};  // made at its first row
    };

    [[nodiscard]] bool print(const scan::EventBatch &batch, Type *type, FileOutput *output);

    std::weak_ptr<const scan::LoadedSchemas> schemas_;
    std::unordered_map<const vrn_type_definition_t *, Type> types_;
};

}  // namespace vrn::reader
