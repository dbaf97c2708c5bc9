// Stores schema documents beside the data, where readers find them by id.
#pragma once

#include <parson.h>

#include <string>

#include "utils/c_ptr.h"

namespace vrn {

// Has no lock.
class SchemaWriter {
  public:
    // Stores each schema of an event schema, counters schema or type system document in a file
    // schema_<id>.json; the id is the digest of the compact text in it. A document that can't be
    // recognised or is too old: std::runtime_error after an error line. Files that can't be
    // written are told once per stretch of failures, and the call ends as if they had been.
    void onSchema(const JSON_Value *value);
    // A text that is no JSON document only gives a warning.
    void onSchema(const std::string &text);

    // False when the file of the last schema could not be written.
    bool is_stored() const { return last_write_ok_; }

    // Takes the place of the default folder, "schema" in the data folder; empty: the default.
    void set_schema_dir(const std::string &dir) { schema_dir_ = dir; }
    void set_data_dir(const std::string &dir) { data_dir_ = dir; }

  private:
    void write_schemas(const JSON_Array *schemas);
    void write_schema(const JSON_Value *value);
    // False after a failure to make the folder or the file.
    [[nodiscard]] bool store(const std::string &path, const char *text);
    void warn(const char *what, const std::string &path, const char *reason);
    std::string schema_path(const char *id) const;

    bool last_write_ok_ = true;  // failures are logged at the first of a stretch
    std::string schema_dir_;
    std::string data_dir_ = ".";
};

}  // namespace vrn

using vrn_schema_writer_t = vrn::SchemaWriter;

// No exception leaves these entries.

// Ends with vrn_schema_writer_destroy. Null: out of memory.
[[nodiscard]] vrn_schema_writer_t *vrn_schema_writer_create();
void vrn_schema_writer_destroy(vrn_schema_writer_t *writer);  // accepts null
using vrn_schema_writer_ptr = vrn::CPtr<vrn_schema_writer_t, vrn_schema_writer_destroy>;

// False for a null text.
[[nodiscard]] bool vrn_schema_writer_set_schema_dir(vrn_schema_writer_t *writer, const char *text);
[[nodiscard]] bool vrn_schema_writer_set_data_dir(vrn_schema_writer_t *writer, const char *text);

// False, after an error line, for a document that was refused; true also when a file could not be
// written.
[[nodiscard]] bool vrn_schema_writer_on_schema(vrn_schema_writer_t *writer,
                                               const JSON_Value *value);
