#include "data/scope_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>

#include "support/captured_log.h"
#include "support/temp_dir.h"

namespace vrn::test {
namespace {

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

// The number of entries, or the text of the exception. The log lines without "[data page filter] "
// go to `log`; that of a success, which tells the number, is left out.
std::string outcome(const std::string &path, Lines *log) {
    CapturedLog lines(4);
    std::string result;
    try {
        result = std::to_string(vrn_load_scope_file(path).size());
    } catch (const std::runtime_error &error) {
        result = error.what();
    }
    *log = lines.take();
    for (std::string &line : *log) line.erase(2, std::string_view("[data page filter] ").size());
    return result;
}

void expect_refusal(const std::string &path, const std::string &text) {
    Lines log;
    EXPECT_EQ(outcome(path, &log), text);
    EXPECT_EQ(log, Lines{"3 " + text});
}

TEST(ScopeFile, ReadsOneEntryALine) {
    const struct {
        std::string content;
        Lines entries;
    } cases[] = {
        {"", {}},
        {"node1   # the first\n", {"node1"}},
        {"# a\n \t# b\n\n \t\r\n #\n", {}},
        {" \t\r node1 \t\r\r\nnode2", {"node1", "node2"}},
        {"a b,c\n", {"a b,c"}},
        {"a\nb\n a\n", {"a", "b"}},
    };
    const TempDir dir;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.content);
        const std::string path = dir.write("scope", c.content);
        CapturedLog log;
        const vrn_string_set entries = vrn_load_scope_file(path);
        EXPECT_EQ(entries, vrn_string_set(c.entries.begin(), c.entries.end()));
        EXPECT_EQ(log.take(),
                  Lines{"6 [data page filter] Loaded " + std::to_string(c.entries.size()) +
                        " scope entries from file: " + path});
    }
    EXPECT_TRUE(vrn_load_scope_file("").empty());
}

TEST(ScopeFile, KeepsItsLimitsToTheByte) {
    const TempDir dir;
    const std::string path = dir.file("scope");
    const std::string line(1024, 'a');
    // Comments of 1 KiB fill a file to its limit in more lines than are read.
    const std::string full = repeated("#" + std::string(1022, '.') + "\n", 10240);
    const Lines many = {
        "4 File has more than 10000 lines, only first 10000 lines were processed: "};
    const struct {
        const char *name;
        std::string content;
        std::string outcome;
        Lines log = {};
    } cases[] = {
        {"line of 1024", line, "1"},
        {"line of 1025", "x\n" + line + "\r\n",
         "Line 2 exceeds maximum length 1024 characters in file: "},
        {"5000 names twice", numbered_lines(5000) + numbered_lines(5000), "5000"},
        {"5001 names", numbered_lines(5001), "Too many entries in file (max 5000): "},
        {"10000 lines", repeated("a\n", 10000), "1"},
        {"10001 lines", repeated("a\n", 10000) + "b\n", "1", many},
        {"10001 lines, the last one open", repeated("a\n", 10000) + "b", "1"},
        {"10485760 bytes", full, "0", many},
        {"10485761 bytes", full + "#",
         "File size 10485761 bytes exceeds maximum allowed size 10485760 bytes: "},
        {"NUL",
         std::string("a\0b\nc", 5),
         "1",
         {"4 Skipping entry with null character at line 1 in file: "}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        dir.write("scope", c.content);
        if (c.outcome.size() > 4) {
            expect_refusal(path, c.outcome + path);
            continue;
        }
        Lines log;
        EXPECT_EQ(outcome(path, &log), c.outcome);
        EXPECT_EQ(log, c.log.empty() ? Lines{} : Lines{c.log[0] + path});
    }
}

TEST(ScopeFile, RefusesPaths) {
    const TempDir dir;
    const std::string control = dir.file("a\x1f");
    const std::string longest = '/' + std::string(4095, 'a');
    const std::string fifo = dir.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    expect_refusal("a..b", "File path contains path traversal sequences: a..b");
    expect_refusal(longest + "a",
                   "File path too long (4097 characters, max 4096): " + longest + "a");
    expect_refusal(control, "File path contains invalid control characters: " + control);
    expect_refusal(dir.file("absent"), "File does not exist: " + dir.file("absent"));
    expect_refusal(dir.path(), "Path is not a regular file: " + dir.path());
    expect_refusal(fifo, "Path is not a regular file: " + fifo);
    Lines log;
    const std::string too_long_name = outcome(longest, &log);
    EXPECT_TRUE(too_long_name.starts_with("Failed to validate file properties for " + longest));
    EXPECT_EQ(log, Lines{"3 " + too_long_name});
}

}  // namespace
}  // namespace vrn::test
