#include "data/writer/schema_writer.h"

#include <filesystem>

#include "data/schema_id.h"
#include "data/text/json_value.h"
#include "support/child_process.h"
#include "support/file_limit.h"
#include "support/test.h"

namespace vrn::test {
namespace {

namespace fs = std::filesystem;

constexpr char setting[] = "VRN_ALLOW_EMPTY_COUNTER_SCHEMA";

std::string name_of(const std::string &text) {
    vrn_schema_id_t id;
    EXPECT_TRUE(vrn_md5_of_string(text.c_str(), &id));
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    return std::string("schema_") + hex + ".json";
}

// Hands `document` to `writer`; "true" or "false", and then the log lines.
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
constexpr char no_version[] = "false\n3 [schema writer] missing Varnel schema version";
constexpr char is_event[] = "true\n6 vrn::SchemaWriter::onSchema() identified single event schema.";
constexpr char document[] = R"({"provider_version":""})";
constexpr char skipping[] = "true\n6 [schema writer] Skipping empty counters_schema.";

TEST(SchemaWriter, StoresDocumentsByTheDigestOfTheirCompactText) {
    const std::string counters = R"({"version":"1.4","counter_groups":[{}]})";
    const std::string empty = R"({"version":"1.4","counter_groups":[]})";
    const std::string event = R"({"version":"1.3","provider_version":"","x":[1,2]})";
    const std::string other = R"({"y":"a\/b"})";
    const std::string bare = R"({"version":"1.5.0"})";
    const std::string start = R"({"version":"2.0",)";
    const std::string with_counters = start + R"("counters_schema":)" + counters;
    const std::string without = start + R"("counters_schema":)" + empty;
    const std::string schemas = R"(,"schemas":[)" + event + " , " + other + "]}";
    // clang-format off
    const struct {
        const char *name; std::string document; const char *allow_empty; std::string outcome;
        Lines stored;
    } cases[] = {
        {"event schema", ' ' + event + '\n', nullptr, is_event, {event}},
        {"counters schema", counters, nullptr, "true", {counters}},
        {"no groups", empty, nullptr, not_recognized, {}},
        {"no groups, allowed", empty, "Yes", "true", {empty}},
        {"no groups, not allowed", empty, "on", not_recognized, {}},
        {"system", with_counters + schemas, nullptr, "true", {counters, event, other}},
        {"system of counters", with_counters + "}", nullptr, "true", {counters}},
        {"system of one", start + R"("schemas":[{}]})", nullptr, "true", {"{}"}},
        {"system of nothing", start + R"("schemas":[]})", nullptr, "true", {}},
        {"system without counters", without + schemas, nullptr, skipping, {event, other}},
        {"the same, allowed", without + schemas, "1", "true", {empty, event, other}},
        {"bad counters", start + R"("counters_schema":7})", nullptr, skipping, {}},
        {"neither", bare, nullptr, not_recognized, {}},
        {"neither, allowed", bare, "true", "true", {bare}},
        {"no version", R"({"schemas":[{}]})", nullptr, no_version, {}},
        {"no object", "[1]", nullptr, no_version, {}},
        {"old", R"({"version":"1.3.9","schemas":[{}]})", nullptr, too_old, {}},
        {"no number", R"({"version":"abc","schemas":[{}]})", nullptr, too_old, {}},
    };
    // clang-format on
    json_set_escape_slashes(1);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const TempDir dir;
        fs::create_directory(dir.file("schema"));
        const ScopedEnv env(setting, c.allow_empty);
        // The setting is read once in a process.
        const std::string outcome = run_in_child([&] {
            const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
            EXPECT_TRUE(vrn_schema_writer_set_data_dir(writer.get(), dir.path().c_str()));
            return announce(writer.get(), c.document);
        });
        EXPECT_EQ(outcome, c.outcome);
        std::map<std::string, std::string> stored;
        for (const std::string &text : c.stored) stored[name_of(text)] = text;
        EXPECT_EQ(files_in(dir.file("schema")), stored);
    }
}

TEST(SchemaWriter, PrefersTheSchemaFolder) {
    const TempDir dir;
    const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
    EXPECT_TRUE(vrn_schema_writer_set_data_dir(writer.get(), dir.file("data").c_str()));
    EXPECT_TRUE(vrn_schema_writer_set_schema_dir(writer.get(), dir.file("a/b").c_str()));
    EXPECT_FALSE(vrn_schema_writer_set_data_dir(writer.get(), nullptr));
    EXPECT_FALSE(vrn_schema_writer_set_schema_dir(writer.get(), nullptr));
    CapturedLog log(4);
    writer->onSchema(std::string(document));
    writer->onSchema("{");
    EXPECT_EQ(read_file(dir.file("a/b/" + name_of(document))), document);
    EXPECT_FALSE(fs::exists(dir.file("data")));
    EXPECT_EQ(log.take(), Lines{"4 [schema writer] Could not deserialize schema JSON"});
}

TEST(SchemaWriter, TellsFailuresOncePerStretch) {
    const TempDir dir;
    const std::string path = dir.file("s/" + name_of(document));
    const std::string seen = is_event;
    const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
    EXPECT_TRUE(vrn_schema_writer_set_schema_dir(writer.get(), dir.file("s").c_str()));
    const auto fails_and_recovers = [&](const std::string &line, const std::string &obstacle) {
        const std::string first = announce(writer.get(), document);
        EXPECT_TRUE(first.starts_with(seen + line)) << first;
        EXPECT_EQ(announce(writer.get(), document), seen);
        fs::remove(obstacle);
        EXPECT_EQ(announce(writer.get(), document), seen);
        EXPECT_EQ(read_file(path), document);
    };
    dir.write("s", "a file where the folder belongs");
    fails_and_recovers("\n4 [data] Could not create schema file '" + path +
                           "': Inaccessible data path " + dir.file("s"),
                       dir.file("s"));
    fs::remove(path);
    fs::create_directories(path);
    fails_and_recovers("\n4 [data] Could not write schema file '" + path + "': ", path);
}

TEST(SchemaWriter, KeepsWhatIsStoredWhenTheDiskIsFull) {
    const TempDir dir;
    const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
    EXPECT_TRUE(vrn_schema_writer_set_schema_dir(writer.get(), dir.path().c_str()));
    const std::string path = dir.file(name_of(document));
    const std::string full =
        is_event + ("\n4 [data] Could not write schema file '" + path) + "': File too large";
    for (const std::string &content : {std::string(document), std::string("damaged")}) {
        dir.write(name_of(document), content);
        std::string outcome;
        with_file_limit(0, [&] { outcome = announce(writer.get(), document); });
        EXPECT_EQ(outcome, content == document ? is_event : full);
        EXPECT_EQ(read_file(path), content);
    }
    EXPECT_EQ(announce(writer.get(), document), is_event);
    EXPECT_EQ(read_file(path), document);
}

}  // namespace
}  // namespace vrn::test
