#include "data/writer/schema_writer.h"

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "data/schema_id.h"
#include "data/text/json_value.h"
#include "data/version.h"
#include "data/writer/data_path.h"
#include "utils/catch_all.h"
#include "utils/env.h"
#include "utils/log.h"
#include "utils/replace_file.h"
#include "utils/string_template.h"
#include "utils/throw_error.h"

namespace {

constexpr std::uint32_t minimal_version = vrn_version_pack(1, 4, 0);

// Read at the first call and kept for the life of the process.
bool may_counters_be_empty() {
    static const bool allowed = vrn_env_value_is_true(vrn_getenv("VRN_ALLOW_EMPTY_COUNTER_SCHEMA"));
    return allowed;
}

void check_version(const char *version) {
    if (!version) vrn_throw_runtime_error("[schema writer] missing Varnel schema version");
    if (vrn_version_compare(vrn_version_parse(version), minimal_version) >= 0) return;
    // Deliberate: both places show the minimal version.
    const char *shown = vrn_version_format(minimal_version);
    vrn_throw_runtime_error(
        "[schema writer] schema version %s is incompatible with the serializer, the minimal "
        "supported version is %s",
        shown, shown);
}

bool has_counter_groups(const JSON_Object *counters_schema) {
    return json_array_get_count(json_object_get_array(counters_schema, "counter_groups")) != 0;
}

}  // namespace

namespace vrn {

void SchemaWriter::onSchema(const JSON_Value *value) {
    const JSON_Object *object = json_value_get_object(value);
    // One event schema, stored whole whatever its version.
    if (json_object_get_string(object, "provider_version")) {
        VRN_LOG(VRN_LOG_INFO, "vrn::SchemaWriter::onSchema() identified single event schema.");
        write_schema(value);
        return;
    }
    check_version(json_object_get_string(object, "version"));
    const bool may_be_empty = may_counters_be_empty();
    const JSON_Array *schemas = json_object_get_array(object, "schemas");
    const JSON_Value *counters = json_object_get_value(object, "counters_schema");
    if (counters) {
        if (may_be_empty || has_counter_groups(json_value_get_object(counters)))
            write_schema(counters);
        else
            VRN_LOG(VRN_LOG_INFO, "[schema writer] Skipping empty counters_schema.");
    } else if (!schemas) {
        if (!may_be_empty && !has_counter_groups(object))
            vrn_throw_runtime_error(
                // "not recognized neither" stays: the text is pinned.
                "[schema writer] schema was not recognized neither as type system nor as counters "
                "schema");
        write_schema(value);
    }
    write_schemas(schemas);
}

void SchemaWriter::onSchema(const std::string &text) {
    const vrn_json_value_ptr value(json_parse_string(text.c_str()));
    if (!value) {
        VRN_LOG(VRN_LOG_WARNING, "[schema writer] Could not deserialize schema JSON");
        return;
    }
    onSchema(value.get());
}

void SchemaWriter::write_schemas(const JSON_Array *schemas) {
    const std::size_t count = json_array_get_count(schemas);
    for (std::size_t i = 0; i < count; ++i) {
        const JSON_Value *schema = json_array_get_value(schemas, i);
        if (!schema) return;
        write_schema(schema);
    }
}

void SchemaWriter::write_schema(const JSON_Value *value) {
    const vrn_json_text_ptr text(json_serialize_to_string(value));
    vrn_schema_id_t id;
    // Of the compact text as it is stored, unlike the ids of schemas in memory.
    if (!vrn_md5_of_string(text.get(), &id))
        vrn_throw_runtime_error("[data] Failed to serialize JSON schema");
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    last_write_ok_ = store(schema_path(hex), text.get());
}

bool SchemaWriter::store(const std::string &path, const char *text) {
    try {
        vrn_data_file_ensure_directory(path);
    } catch (const std::runtime_error &error) {
        warn("create", path, error.what());
        return false;
    }
    // The name is the digest of the text, so whatever has it already holds the same bytes.
    if (vrn::replace_file(path, text) == vrn::ReplacedFile::done) return true;
    warn("write", path, std::strerror(errno));
    return false;
}

void SchemaWriter::warn(const char *what, const std::string &path, const char *reason) {
    // Once for a stretch of failures, which often lasts as long as the disk is full.
    if (!last_write_ok_) return;
    VRN_LOG(VRN_LOG_WARNING, "[data] Could not %s schema file '%s': %s", what, path.c_str(),
            reason);
}

std::string SchemaWriter::schema_path(const char *id) const {
    namespace fs = boost::filesystem;
    const fs::path dir =
        schema_dir_.empty() ? fs::absolute(data_dir_) / "schema" : fs::absolute(schema_dir_);
    return (dir / vrn_expand_template("schema_{{id}}.json", {{"id", id}})).string();
}

}  // namespace vrn

vrn_schema_writer_t *vrn_schema_writer_create() {
    std::unique_ptr<vrn_schema_writer_t> writer;
    const bool is_made = vrn::catch_all([&] { writer = std::make_unique<vrn_schema_writer_t>(); });
    return is_made ? writer.release() : nullptr;  // to the caller
}

void vrn_schema_writer_destroy(vrn_schema_writer_t *writer) {
    delete writer;
}

bool vrn_schema_writer_set_schema_dir(vrn_schema_writer_t *writer, const char *text) {
    return text && vrn::catch_all([&] { writer->set_schema_dir(text); });
}

bool vrn_schema_writer_set_data_dir(vrn_schema_writer_t *writer, const char *text) {
    return text && vrn::catch_all([&] { writer->set_data_dir(text); });
}

bool vrn_schema_writer_on_schema(vrn_schema_writer_t *writer, const JSON_Value *value) {
    return vrn::catch_all([&] { writer->onSchema(value); });
}
