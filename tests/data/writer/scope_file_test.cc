#include "data/writer/scope_file.h"

#include <sys/stat.h>

#include <stdexcept>

#include "support/test.h"

namespace vrn::test {
namespace {

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

// The number of entries or the text of the exception, and the log lines without the filter's name;
// that of a success is left out.
Lines outcome(const std::string &path) {
    CapturedLog log(4);
    Lines outcome(1);
    try {
        outcome[0] = std::to_string(vrn_load_scope_file(path).size());
    } catch (const std::runtime_error &error) {
        outcome[0] = error.what();
    }
    for (const std::string &line : log.take())
        outcome.push_back(line.substr(0, 2) + line.substr(std::strlen("3 [data page filter] ")));
    return outcome;
}

Lines refusal(const std::string &text) {
    return {text, "3 " + text};
}

TEST(ScopeFile, ReadsOneEntryALine) {
    const std::pair<std::string, Lines> cases[] = {
        {"", {}},
        {"node1   # the first\n", {"node1"}},
        {"# a\n \t# b\n\n \t\r\n #\n", {}},
        {" \t\r node1 \t\r\r\nnode2", {"node1", "node2"}},
        {"a b,c\n", {"a b,c"}},
        {"a\nb\n a\n", {"a", "b"}},
    };
    const TempDir dir;
    for (const auto &[content, expected] : cases) {
        SCOPED_TRACE(content);
        const std::string path = dir.write("scope", content);
        CapturedLog log;
        const vrn_string_set entries = vrn_load_scope_file(path);
        EXPECT_EQ(entries, vrn_string_set(expected.begin(), expected.end()));
        EXPECT_EQ(log.take(),
                  Lines{"6 [data page filter] Loaded " + std::to_string(expected.size()) +
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
    const std::string many =
        "4 File has more than 10000 lines, only first 10000 lines were processed: " + path;
    // clang-format off
    const struct { const char *name; std::string content; Lines outcome; } cases[] = {
        {"line of 1024", line, {"1"}},
        {"line of 1025", "x\n" + line + "\r\n",
         refusal("Line 2 exceeds maximum length 1024 characters in file: " + path)},
        {"5000 names twice", numbered_lines(5000) + numbered_lines(5000), {"5000"}},
        {"5001 names", numbered_lines(5001),
         refusal("Too many entries in file (max 5000): " + path)},
        {"10001 lines", repeated("a\n", 10000) + "b\n", {"1", many}},
        {"10001 lines, the last one open", repeated("a\n", 10000) + "b", {"1"}},
        {"10000 lines", repeated("a\n", 9999) + "b\n", {"2"}},
        {"10485760 bytes", full, {"0", many}},
        {"10485761 bytes", full + "#",
         refusal("File size 10485761 bytes exceeds maximum allowed size 10485760 bytes: " + path)},
        {"NUL", std::string("a\0b\nc", 5),
         {"1", "4 Skipping entry with null character at line 1 in file: " + path}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        dir.write("scope", c.content);
        EXPECT_EQ(outcome(path), c.outcome);
    }
}

TEST(ScopeFile, RefusesPaths) {
    const TempDir dir;
    const std::string control = dir.file("a\x1f");
    const std::string longest = '/' + std::string(4095, 'a');
    const std::string fifo = dir.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::pair<std::string, std::string> cases[] = {
        {"a..b", "File path contains path traversal sequences: "},
        {longest + "a", "File path too long (4097 characters, max 4096): "},
        {control, "File path contains invalid control characters: "},
        {dir.file("absent"), "File does not exist: "},
        {dir.path(), "Path is not a regular file: "},
        {fifo, "Path is not a regular file: "},
    };
    for (const auto &[path, text] : cases) EXPECT_EQ(outcome(path), refusal(text + path));
    const Lines too_long_name = outcome(longest);
    EXPECT_TRUE(too_long_name[0].starts_with("Failed to validate file properties for " + longest));
    EXPECT_EQ(too_long_name, refusal(too_long_name[0]));
}

}  // namespace
}  // namespace vrn::test
