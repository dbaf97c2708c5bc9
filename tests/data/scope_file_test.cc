#include "data/scope_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>

#include "support/captured_log.h"
#include "support/temp_dir.h"

namespace vrn::test {
namespace {

using ::testing::UnorderedElementsAreArray;
using Lines = std::vector<std::string>;

std::string numbered_lines(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += "n" + std::to_string(i) + '\n';
    return text;
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
}

// Text of the exception that loading `path` throws, or its number of entries.
std::string outcome(const std::string &path) {
    try {
        return std::to_string(vrn_load_scope_file(path).size()) + " entries";
    } catch (const std::runtime_error &error) {
        return error.what();
    }
}

void expect_refusal(const std::string &path, const std::string &text) {
    CapturedLog log;
    EXPECT_EQ(outcome(path), text);
    EXPECT_EQ(log.take(), Lines{"3 [data page filter] " + text});
}

TEST(ScopeFile, ReadsOneEntryALine) {
    const struct {
        const char *name;
        std::string content;
        std::vector<std::string> entries;
    } cases[] = {
        {"empty", "", {}},
        {"comment behind a value", "node1   # the first\n", {"node1"}},
        {"comments and blank lines", "# a\n \t# b\n\n \t\r\n", {}},
        {"blanks at both ends", " \t\r node1 \t\r\r\nnode2", {"node1", "node2"}},
        {"blanks and commas inside stay", "a b,c\n", {"a b,c"}},
        {"repeats", "a\na\n b\n", {"a", "b"}},
        {"cut to nothing is skipped", " #\n", {}},
    };
    const TempDir dir;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir.write("scope", c.content);
        CapturedLog log;
        EXPECT_THAT(vrn_load_scope_file(path), UnorderedElementsAreArray(c.entries));
        EXPECT_EQ(log.take(),
                  Lines{"6 [data page filter] Loaded " + std::to_string(c.entries.size()) +
                        " scope entries from file: " + path});
    }
}

TEST(ScopeFile, GivesNothingForAnEmptyPath) {
    CapturedLog log;
    EXPECT_EQ(outcome(""), "0 entries");
    EXPECT_EQ(log.take(), Lines{});
}

TEST(ScopeFile, SkipsEntriesWithANul) {
    const TempDir dir;
    const std::string path = dir.write("scope", std::string("a\0b\nc\n", 6));
    CapturedLog log;
    EXPECT_EQ(outcome(path), "1 entries");
    EXPECT_EQ(
        log.take(),
        (Lines{"4 [data page filter] Skipping entry with null character at line 1 in file: " + path,
               "6 [data page filter] Loaded 1 scope entries from file: " + path}));
}

TEST(ScopeFile, KeepsItsLimitsToTheByte) {
    const TempDir dir;
    const std::string path = dir.file("scope");
    const std::string long_line(1024, 'a');
    // Comment lines of 1 KiB fill a file to its limit of 10 MiB in 10240 lines; the last ones are
    // past the limit of lines.
    const std::string full = repeated("#" + std::string(1022, '.') + "\n", 10240);
    const std::string many_lines =
        "File has more than 10000 lines, only first 10000 lines were processed: " + path;
    const struct {
        const char *name;
        std::string content;
        std::string outcome;
        Lines log;
    } cases[] = {
        {"line of 1024", long_line, "1 entries", {}},
        {"line of 1024 and a carriage return",
         "x\n" + long_line + "\r\n",
         "Line 2 exceeds maximum length 1024 characters in file: " + path,
         {}},
        {"5000 names twice", numbered_lines(5000) + numbered_lines(5000), "5000 entries", {}},
        {"5001 names", numbered_lines(5001), "Too many entries in file (max 5000): " + path, {}},
        {"10000 lines", repeated("a\n", 10000), "1 entries", {}},
        {"10001 lines", repeated("a\n", 10000) + "b\n", "1 entries", {many_lines}},
        {"10001 lines, the last one open", repeated("a\n", 10000) + "b", "1 entries", {}},
        {"10485760 bytes", full, "0 entries", {many_lines}},
        {"10485761 bytes",
         full + "#",
         "File size 10485761 bytes exceeds maximum allowed size 10485760 bytes: " + path,
         {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        dir.write("scope", c.content);
        CapturedLog log(4);
        EXPECT_EQ(outcome(path), c.outcome);
        Lines expected;
        for (const auto &line : c.log) expected.push_back("4 [data page filter] " + line);
        if (!c.outcome.ends_with("entries"))
            expected.push_back("3 [data page filter] " + c.outcome);
        EXPECT_EQ(log.take(), expected);
    }
}

TEST(ScopeFile, RefusesPaths) {
    const TempDir dir;
    const std::string control = dir.file(
        "a\x1f"
        "b");
    const std::string with_nul = dir.file(std::string("a\0b", 3));
    const std::string longest = '/' + std::string(4095, 'a');
    expect_refusal("a..b", "File path contains path traversal sequences: a..b");
    expect_refusal(longest + "a",
                   "File path too long (4097 characters, max 4096): " + longest + "a");
    expect_refusal(control, "File path contains invalid control characters: " + control);
    // The texts end at the NUL, as all C texts do.
    expect_refusal(with_nul, "File path contains invalid control characters: " + dir.file("a"));
    expect_refusal(dir.file("absent"), "File does not exist: " + dir.file("absent"));
    expect_refusal(dir.path(), "Path is not a regular file: " + dir.path());
    const std::string fifo = dir.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    expect_refusal(fifo, "Path is not a regular file: " + fifo);
    EXPECT_THAT(outcome(longest),
                ::testing::StartsWith("Failed to validate file properties for " + longest + ": "));
}

}  // namespace
}  // namespace vrn::test
