#include "data/writer/data_path.h"

#include <gmock/gmock.h>

#include <boost/filesystem.hpp>
#include <stdexcept>

#include "data/writer/data_file.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using ::testing::ThrowsMessage;

constexpr std::uint64_t start = 1'794'712'886'000'000;  // 2026-11-15 03:21:26 UTC

struct Stream {
    const char *source = "node1";
    const char *tag = "telemetry";
    const char *path_template = "{{year}}/{{month}}{{day}}/{{source}}/{{tag}}{{id}}.bin";
    std::uint64_t first_ts = start;
    bool tag_in_path = false;
    std::uint32_t is_not_counters = 1;
};

vrn_data_file_t make_stream(const Stream &stream) {
    vrn_data_file_t file;
    const vrn_client_id_t client = {.host_name = "collector", .port = 0};
    vrn_data_file_init(&file, &client, stream.source, stream.tag, stream.is_not_counters);
    file.root_dir = "/root";
    file.path_template = stream.path_template;
    file.tag_in_path = stream.tag_in_path;
    file.first_ts = stream.first_ts;
    if (stream.first_ts != 0) file.id = std::to_string(stream.first_ts);
    return file;
}

TEST(DataPath, ExpandsTemplates) {
    // clang-format off
    const struct {
        const char *name; Stream stream; const char *path; Lines lines = {};
    } cases[] = {
        {"defaults", {}, "/root/2026/1115/node1/telemetry_1794712886000000.bin"},
        {"no tag", {.tag = ""}, "/root/2026/1115/node1/1794712886000000.bin"},
        {"all variables",
         {.path_template = "{{node}}.{{port}}/{{timestamp}}-{{hour}}{{minute}}{{second}}"},
         "/root/collector.0/1794712886000000-032126"},
        {"tag as a folder", {.path_template = "a/{{tag}}/{{id}}"},
         "/root/a/telemetry/1794712886000000"},
        {"no tag as a folder of counters",
         {.tag = "", .path_template = "{{tag}}/f", .tag_in_path = true, .is_not_counters = 0},
         "/root/counters/f"},
        {"no tag as a folder of events",
         {.tag = "", .path_template = "a/{{tag}}/f", .tag_in_path = true}, "/root/a//f"},
        {"separators go once each", {.path_template = "a__/b_/_/c"}, "/root/a_/b//c"},
        {"unknown variables stay", {.path_template = "{{rack}}/{{tag}}x"},
         "/root/{{rack}}/telemetry_x"},
        {"no time yet", {.path_template = "{{year}}{{hash8}}{{id}}%Y", .first_ts = 0},
         "/root/{{year}}{{hash8}}{{id}}%Y"},
        {"a source is a format too", {.source = "100%Y%%", .path_template = "{{source}}"},
         "/root/1002026%"},
        {"a source names a variable", {.source = "{{id}}", .path_template = "{{source}}"},
         "/root/1794712886000000"},
        {"a source with slashes", {.source = "/etc/x", .path_template = "{{source}}/f"},
         "/root/etc/x/f"},
        {"whole milliseconds", {.path_template = "%f", .first_ts = start + 1999}, "/root/001000"},
        {"first hash only", {.source = "AB", .path_template = "a{{hash8}}b{{hash8}}"},
         "/root/a3b{{hash8}}"},
        {"hash of a GUID", {.source = "0x1b", .path_template = "{{hash8}}"}, "/root/3"},
        {"hash of bytes", {.source = "\xFF", .path_template = "{{hash1000}}"}, "/root/255"},
        {"hash of nothing", {.source = "", .path_template = "{{hash8}}"}, "/root/0"},
        {"hash by nothing", {.source = "AB", .path_template = "{{hash0}}"}, "/root/131"},
        {"hash by less", {.source = "0xffffffffffffffff", .path_template = "{{hash-3}}"},
         "/root/2"},
        {"hash below zero", {.source = "0xfffffffe", .path_template = "{{hash0}}"}, "/root/-2"},
        {"hash and more", {.source = "AB", .path_template = "{{hash8 or so}}b"}, "/root/3b"},
        {"hash of no GUID", {.source = "0xg", .path_template = "{{hash1000}}"}, "/root/271",
         {"3 Failed to read 0xg as guid number"}},
        {"open hash", {.path_template = "a{{hash8"}, "/root/a{{hash8",
         {"3 path_template expects {{hash[num]}}, missing closing braces"}},
        {"hash without a number", {.path_template = "a{{hash}}/b"}, "/root/a{{hash}}/b",
         {"3 path_template expects {{hash[num]}}, '[num]' - a positive integer, actually received "
          "{{hash}}"}},
        {"last day",
         {.path_template = "{{year}}{{month}}{{day}}", .first_ts = 253'402'300'799'999'999},
         "/root/99991231"},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        const vrn_data_file_t file = make_stream(test.stream);
        CapturedLog log;
        EXPECT_EQ(vrn_data_file_expand_path(&file), test.path);
        EXPECT_EQ(log.take(), test.lines);
    }
}

TEST(DataPath, StandsBelowTheCurrentFolder) {
    const std::string current = boost::filesystem::current_path().string();
    vrn_data_file_t file = make_stream({.path_template = "f_/{{id}}"});
    const std::string id = std::to_string(start);
    file.root_dir = "out";
    EXPECT_EQ(vrn_data_file_expand_path(&file), current + "/out/f/" + id);
    file.root_dir = "";
    EXPECT_EQ(vrn_data_file_expand_path(&file), "f_/" + id);
}

TEST(DataPath, RefusesYearsOfNoCalendar) {
    for (const std::uint64_t first_ts : {std::uint64_t{253'402'300'800'000'000}, UINT64_MAX / 2,
                                         std::uint64_t{2'131'280'000'000'000'000}, UINT64_MAX}) {
        const vrn_data_file_t file = make_stream({.first_ts = first_ts});
        EXPECT_THAT([&] { vrn_data_file_expand_path(&file); },
                    ThrowsMessage<std::out_of_range>("Year is out of valid range: 1400..9999"))
            << first_ts;
    }
}

TEST(DataPath, FormatsWhateverASourceHolds) {
    for (int character = 1; character < 256; ++character) {
        const std::string source = {'%', static_cast<char>(character), '%'};
        const vrn_data_file_t file =
            make_stream({.source = source.c_str(), .path_template = "<{{source}}"});
        EXPECT_TRUE(vrn_data_file_expand_path(&file).starts_with("/root/<")) << character;
    }
}

TEST(DataPath, StaysInsideItsRoot) {
    // clang-format off
    const struct {
        const char *root, *path, *confined = nullptr;  // refused
        const char *path_template = "{{source}}";
    } cases[] = {
        {"/root", "/root/a..b/...", "/root/a..b/..."},
        {"/root", "/root/a/../b/f", "/root/b/f"},
        {"/root", "/root/a/b/../../../root/f", "/root/f"},
        {"/root/../other/", "/root/../other/f", "/root/../other/f"},
        {"/", "/a/../f", "/f"},
        {"/root", "/root/../f"},
        {"/root", "/root/a/../../f"},
        {"/root", "/root/../rootless/f"},
        {"/root", "/root/../out/f", "/root/../out/f", "../out/{{source}}"},
        {"/root", "/root/../out/a/../f", "/root/../out/f", "../out/{{source}}"},
        {"/root", "/root/../out/../f", nullptr, "../out/{{source}}"},
        {"/root", "/root/a/../f", "/root/f", "a/{{source}}"},
    };
    // clang-format on
    for (const auto &test : cases) {
        SCOPED_TRACE(test.path);
        vrn_data_file_t file;
        file.root_dir = test.root;
        file.path_template = test.path_template;
        std::string path = test.path;
        EXPECT_EQ(vrn_data_file_confine_path(&file, &path), test.confined != nullptr);
        EXPECT_EQ(path, test.confined ? test.confined : test.path);
    }
}

TEST(DataPath, TemplatesMayLeaveTheRootInFrontOfNames) {
    for (const char *text : {"", "../{{id}}", "/../../a/{{tag}}", "a/../../{{year}}/{{tag}}/../b",
                             "{{source}}/..", "a/{{source}}/../../b"})
        EXPECT_TRUE(vrn_path_template_is_confined(text)) << text;
    for (const char *text :
         {"..", "{{source}}/../../b", "{{tag}}/../../..", "../a/{{tag}}/../../b"})
        EXPECT_FALSE(vrn_path_template_is_confined(text)) << text;
}

TEST(DataPath, MakesFolders) {
    const TempDir dir;
    const std::string path = dir.file("a/b/c.bin");
    EXPECT_EQ(vrn_data_file_ensure_directory(path), path);
    EXPECT_TRUE(boost::filesystem::is_directory(dir.file("a/b")));
    EXPECT_EQ(vrn_data_file_ensure_directory("c.bin"), "c.bin");

    dir.write("file", "");
    EXPECT_THAT([&] { vrn_data_file_ensure_directory(dir.file("file/c.bin")); },
                ThrowsMessage<std::runtime_error>("Inaccessible data path " + dir.file("file")));
    EXPECT_THROW(vrn_data_file_ensure_directory(dir.file("file/a/c.bin")), std::runtime_error);
}

}  // namespace
}  // namespace vrn::test
