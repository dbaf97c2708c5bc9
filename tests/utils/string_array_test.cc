#include "utils/string_array.h"

#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(StringArray, AppendCreatesAndGrows) {
    vrn_string_array_t *raw = nullptr;
    EXPECT_FALSE(vrn_string_array_append(&raw, nullptr));
    EXPECT_EQ(raw, nullptr);
    Lines expected;
    for (int i = 0; i < 1000; ++i) {
        expected.push_back(std::to_string(i));
        ASSERT_TRUE(vrn_string_array_append(&raw, expected.back().c_str()));
    }
    const vrn_string_array_ptr array(raw);
    EXPECT_EQ(items(raw), expected);
    EXPECT_TRUE(vrn_string_array_contains(raw, "999"));
    EXPECT_FALSE(vrn_string_array_contains(raw, "99 "));
}

TEST(StringArray, ExtendCopiesBehindWhatIsThere) {
    vrn_string_array_t *raw = make_array({"a"}).release();
    const auto other = make_array({"b", "c", "d", "e"});
    EXPECT_TRUE(vrn_string_array_extend(&raw, other.get()));
    const vrn_string_array_ptr array(raw);
    EXPECT_EQ(items(raw), (Lines{"a", "b", "c", "d", "e"}));
    EXPECT_EQ(items(other.get()), (Lines{"b", "c", "d", "e"}));
}

TEST(StringArray, CsvItemsArePlainTextBetweenCommas) {
    const struct {
        const char *name;
        std::string text;
        Lines expected;
    } cases[] = {
        {"empty", "", {}},
        {"empty items dropped", ",a,,b,", {"a", "b"}},
        {"nothing trimmed", " a ,\tb", {" a ", "\tb"}},
        {"longest item", std::string(1023, 'x') + ",y", {std::string(1023, 'x'), "y"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const vrn_string_array_ptr array(vrn_string_array_from_csv(c.text.data(), c.text.size()));
        ASSERT_NE(array, nullptr);
        EXPECT_EQ(items(array.get()), c.expected);
    }
    const vrn_string_array_ptr cut(vrn_string_array_from_csv("ab,cd", 4));
    EXPECT_EQ(items(cut.get()), (Lines{"ab", "c"}));
}

TEST(StringArray, CsvRefusesItemsThatAreTooLong) {
    CapturedLog log;
    const std::string text = "a," + std::string(1024, 'x');
    EXPECT_EQ(vrn_string_array_from_csv(text.data(), text.size()), nullptr);
    EXPECT_EQ(log.take(), Lines{"3 Unable to append string"});
}

TEST(StringArray, RemovesRepeatsOfSortedArrays) {
    // clang-format off
    const struct { Lines before; bool sorted, result; Lines after, log; } cases[] = {
        {{"a", "a", "b", "c", "c", "c"}, true, true, {"a", "b", "c"}, {}},
        {{"a", "a"}, false, false, {"a", "a"},
         {"3 [vrn_string_array_remove_duplicates] not implemented"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.before.size());
        CapturedLog log;
        vrn_string_array_t *raw = make_array(c.before).release();
        EXPECT_EQ(vrn_string_array_remove_duplicates(&raw, c.sorted), c.result);
        EXPECT_EQ(items(raw), c.after);
        // The block was shrunk and must still grow.
        for (int i = 0; i < 9; ++i) EXPECT_TRUE(vrn_string_array_append(&raw, "z"));
        vrn_string_array_free(raw);
        EXPECT_EQ(log.take(), c.log);
    }
    vrn_string_array_t *empty = vrn_string_array_create();
    EXPECT_TRUE(vrn_string_array_remove_duplicates(&empty, false));
    vrn_string_array_free(empty);
}

TEST(StringArray, PrintsEachItemAtTheLevel) {
    CapturedLog log;
    vrn_string_array_print(4, make_array({"x", "y"}).get(), "list");
    EXPECT_EQ(log.take(), (Lines{"4 list[0] = x", "4 list[1] = y"}));
}

TEST(StringArray, LoadsTrimmedLinesWithoutComments) {
    const TempDir dir;
    const std::string path =
        dir.write("list", "a\n\n  # note\n \tb c \r\n#x\n" + std::string(1 << 20, 'y') + "\nlast");
    CapturedLog log;
    vrn_string_array_t *raw = nullptr;
    EXPECT_TRUE(vrn_string_array_load_file(&raw, path.c_str(), "names"));
    const vrn_string_array_ptr array(raw);
    EXPECT_EQ(items(raw), (Lines{"a", "b c", std::string(1 << 20, 'y'), "last"}));
    EXPECT_EQ(log.take(), Lines{"6 Loading names from " + path});
}

TEST(StringArray, MissingFileIsToldAtInfoLevel) {
    CapturedLog log;
    vrn_string_array_t *array = nullptr;
    EXPECT_FALSE(vrn_string_array_load_file(&array, "/nonexistent/f", nullptr));
    EXPECT_FALSE(vrn_string_array_load_file(&array, "/nonexistent/f", "tag"));
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(log.take(),
              (Lines{"6 Could not open  file /nonexistent/f: No such file or directory",
                     "6 Loading tag from /nonexistent/f",
                     "6 Could not open tag file /nonexistent/f: No such file or directory"}));
}

}  // namespace
}  // namespace vrn::test
