#include "vrn_collect/schema_files.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

namespace vrn::collect {

SchemaFiles::SchemaFiles(const std::string &dir) : dir_(dir) {
    writer_.set_schema_dir(dir);
}

vrn_schema_id_t SchemaFiles::add(vrn_json_value_ptr schema) {
    // Files are named by the digest of the compact text.
    vrn_schema_id_t id{};
    const vrn_json_text_ptr text(json_serialize_to_string(schema.get()));
    if (!vrn_md5_of_string(text.get(), &id)) throw std::runtime_error("cannot make a schema");
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    schemas_.push_back({std::move(schema), dir_ + "/schema_" + hex + ".json"});
    return id;
}

bool SchemaFiles::store() {
    bool done = true;
    for (const Schema &schema : schemas_) done &= store(schema);
    return done;
}

bool SchemaFiles::restore() {
    bool done = true;
    for (const Schema &schema : schemas_) {
        std::error_code ignored;
        // Only what is missing, so that a sample costs no write.
        if (!std::filesystem::exists(schema.path, ignored)) done &= store(schema);
    }
    return done;
}

bool SchemaFiles::store(const Schema &schema) {
    writer_.onSchema(schema.json.get());
    return writer_.is_stored();
}

}  // namespace vrn::collect
