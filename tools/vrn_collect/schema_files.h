// The schemas of a run, stored beside its data.
#pragma once

#include <string>
#include <vector>

#include "data/schema_id.h"
#include "data/text/json_value.h"
#include "data/writer/schema_writer.h"

namespace vrn::collect {

class SchemaFiles {
  public:
    explicit SchemaFiles(const std::string &dir);

    // Returns the id by which data names the schema. Throws std::runtime_error.
    vrn_schema_id_t add(vrn_json_value_ptr schema);

    // False, after a line, when one can't be stored.
    [[nodiscard]] bool store();
    // Stores those that are gone: without its schema no data can be read. False as above.
    [[nodiscard]] bool restore();

  private:
    struct Schema {
        vrn_json_value_ptr json;
        std::string path;
    };
    [[nodiscard]] bool store(const Schema &schema);

    std::string dir_;
    std::vector<Schema> schemas_;
    SchemaWriter writer_;
};

}  // namespace vrn::collect
