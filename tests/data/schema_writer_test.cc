#include "data/schema_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "data/json_template.h"
#include "data/schema_id.h"
#include "support/captured_log.h"
#include "support/child_process.h"
#include "support/temp_dir.h"

namespace vrn::test {
namespace {

namespace fs = std::filesystem;

constexpr char setting[] = "VRN_ALLOW_EMPTY_COUNTER_SCHEMA";

std::string name_of(const std::string &text) {
    vrn_schema_id_t id;
    vrn_md5_of_string(text.c_str(), &id);
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    return std::string("schema_") + hex + ".json";
}

// Hands `document` to `writer`; "true" or "false", and the log lines behind it.
std::string announce(vrn_schema_writer_t *writer, const std::string &document) {
    CapturedLog log;
    const vrn_json_value_ptr value(json_parse_string(document.c_str()));
    std::string outcome = vrn_schema_writer_on_schema(writer, value.get()) ? "true" : "false";
    for (const std::string &line : log.take()) outcome += "\n" + line;
    return outcome;
}

constexpr char too_old[] =
    "false\n3 [schema writer] schema version 1.4.0 is incompatible with the serializer, the "
    "minimal supported version is 1.4.0";
constexpr char not_recognized[] =
    "false\n3 [schema writer] schema was not recognized neither as type system nor as counters "
    "schema";
constexpr char skipping[] = "true\n6 [schema writer] Skipping empty counters_schema.";

TEST(SchemaWriter, StoresDocumentsByTheDigestOfTheirCompactText) {
    const std::string counters = R"({"version":"1.4","counter_groups":[{}]})";
    const std::string empty = R"({"version":"1.4","counter_groups":[]})";
    const std::string a = R"({"provider_version":"1.0","x":[1,2]})";
    const std::string b = R"({"y":"a\/b"})";
    const auto system = [](const std::string &members) {
        return R"({"version":"2.0",)" + members + "}";
    };
    const std::string unknown = R"({"version":"1.5.0"})";
    const struct {
        const char *name;
        std::string document;
        const char *allow_empty;
        std::string outcome;
        std::vector<std::string> stored;
    } cases[] = {
        {"event schema",
         " {\"provider_version\" : \"1.0\", \"x\" : [1, 2]}\n",
         nullptr,
         "true\n6 vrn::SchemaWriter::onSchema() identified single event schema.",
         {a}},
        {"event schema of an old version",
         R"({"version":"1.3","provider_version":""})",
         nullptr,
         "true\n6 vrn::SchemaWriter::onSchema() identified single event schema.",
         {R"({"version":"1.3","provider_version":""})"}},
        {"counters schema", counters, nullptr, "true", {counters}},
        {"counters schema without groups", empty, nullptr, not_recognized, {}},
        {"the same, allowed", empty, "Yes", "true", {empty}},
        {"the same, not allowed", empty, "on", not_recognized, {}},
        {"type system",
         system("\"counters_schema\":" + counters + ",\"schemas\":[" + a + "," + b + "]"),
         nullptr,
         "true",
         {counters, a, b}},
        {"type system of counters",
         system("\"counters_schema\":" + counters),
         nullptr,
         "true",
         {counters}},
        {"type system of events", system("\"schemas\":[" + b + "]"), nullptr, "true", {b}},
        {"type system of nothing", system("\"schemas\":[]"), nullptr, "true", {}},
        {"type system without counters",
         system("\"counters_schema\":" + empty + ",\"schemas\":[" + a + "]"),
         nullptr,
         skipping,
         {a}},
        {"the same, allowed",
         system("\"counters_schema\":" + empty + ",\"schemas\":[" + a + "]"),
         "1",
         "true",
         {empty, a}},
        {"counters of no object", system("\"counters_schema\":7"), nullptr, skipping, {}},
        {"neither", unknown, nullptr, not_recognized, {}},
        {"neither, allowed", unknown, "true", "true", {unknown}},
        {"no version",
         R"({"schemas":[{}]})",
         nullptr,
         "false\n3 [schema writer] missing Varnel schema version",
         {}},
        {"no object", "[1]", nullptr, "false\n3 [schema writer] missing Varnel schema version", {}},
        {"old version", R"({"version":"1.3.9","schemas":[{}]})", nullptr, too_old, {}},
        {"no version number", R"({"version":"abc","schemas":[{}]})", nullptr, too_old, {}},
    };
    json_set_escape_slashes(1);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const TempDir dir;
        const ScopedEnv env(setting, c.allow_empty);
        // The setting is read once in a process.
        EXPECT_EQ(run_in_child([&] {
                      const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
                      vrn_schema_writer_set_data_dir(writer.get(), dir.path().c_str());
                      return announce(writer.get(), c.document);
                  }),
                  c.outcome);
        for (const std::string &text : c.stored)
            EXPECT_EQ(read_file(dir.file("schema/" + name_of(text))), text);
        const std::string schema_dir = dir.file("schema");
        const auto count =
            fs::exists(schema_dir) ? std::distance(fs::directory_iterator(schema_dir), {}) : 0;
        EXPECT_EQ(static_cast<std::size_t>(count), c.stored.size());
    }
}

TEST(SchemaWriter, ReadsTexts) {
    const TempDir dir;
    SchemaWriter writer;
    writer.set_data_dir(dir.path());
    CapturedLog log;
    const std::string text = R"({"provider_version":""})";
    writer.onSchema(text);
    writer.onSchema("{");
    EXPECT_EQ(read_file(dir.file("schema/" + name_of(text))), text);
    EXPECT_EQ(log.take(), (std::vector<std::string>{
                              "6 vrn::SchemaWriter::onSchema() identified single event schema.",
                              "4 [schema writer] Could not deserialize schema JSON"}));
}

TEST(SchemaWriter, PrefersTheSchemaFolder) {
    const TempDir dir;
    const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
    EXPECT_TRUE(vrn_schema_writer_set_data_dir(writer.get(), dir.file("data").c_str()));
    EXPECT_TRUE(vrn_schema_writer_set_schema_dir(writer.get(), dir.file("a/b").c_str()));
    EXPECT_FALSE(vrn_schema_writer_set_data_dir(writer.get(), nullptr));
    EXPECT_FALSE(vrn_schema_writer_set_schema_dir(writer.get(), nullptr));
    const std::string text = R"({"provider_version":""})";
    announce(writer.get(), text);
    EXPECT_EQ(read_file(dir.file("a/b/" + name_of(text))), text);
    EXPECT_FALSE(fs::exists(dir.file("data")));
}

TEST(SchemaWriter, TellsFailuresOncePerStretch) {
    const TempDir dir;
    const std::string text = R"({"provider_version":""})";
    const std::string path = dir.file("s/" + name_of(text));
    const std::string seen =
        "true\n6 vrn::SchemaWriter::onSchema() identified single event schema.";
    const std::string no_folder = "\n4 [data] Could not create schema file '" + path +
                                  "': Inaccessible data path " + dir.file("s");
    const std::string no_file = "\n4 [data] Could not write schema file '" + path + "': ";
    const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
    vrn_schema_writer_set_schema_dir(writer.get(), dir.file("s").c_str());

    dir.write("s", "a file where the folder belongs");
    EXPECT_EQ(announce(writer.get(), text), seen + no_folder);
    EXPECT_EQ(announce(writer.get(), text), seen);
    fs::remove(dir.file("s"));
    EXPECT_EQ(announce(writer.get(), text), seen);
    EXPECT_EQ(read_file(path), text);

    fs::remove(path);
    fs::create_directories(path);
    const std::string failed = announce(writer.get(), text);
    EXPECT_TRUE(failed.starts_with(seen + no_file)) << failed;
    EXPECT_EQ(announce(writer.get(), text), seen);
    fs::remove(path);
    EXPECT_EQ(announce(writer.get(), text), seen);
    EXPECT_EQ(read_file(path), text);
}

}  // namespace
}  // namespace vrn::test
