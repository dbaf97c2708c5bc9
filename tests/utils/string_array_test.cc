#include "utils/string_array.h"

#include "support/string_lists.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(StringArray, IsCreatedAndGrows) {
    vrn_string_array_t *raw = nullptr;
    EXPECT_FALSE(vrn_string_array_append(&raw, nullptr));
    EXPECT_EQ(raw, nullptr);
    Lines expected;
    for (int i = 0; i < 1000; ++i) {
        expected.push_back(std::to_string(i));
        ASSERT_TRUE(vrn_string_array_append(&raw, expected.back().c_str()));
    }
    EXPECT_TRUE(vrn_string_array_contains(raw, "999"));
    EXPECT_FALSE(vrn_string_array_contains(raw, "99 "));
    const auto other = make_array(Lines(3000, "x"));
    EXPECT_TRUE(vrn_string_array_extend(&raw, other.get()));
    const vrn_string_array_ptr array(raw);
    expected.resize(4000, "x");
    EXPECT_EQ(items(raw), expected);
}

TEST(StringArray, CsvItemsArePlainTextBetweenCommas) {
    const std::string longest(1023, 'x');
    const std::pair<std::string, Lines> cases[] = {
        {"", {}},
        {",a,,b,", {"a", "b"}},
        {" a ,\tb", {" a ", "\tb"}},
        {longest + ",y", {longest, "y"}},
    };
    for (const auto &[text, expected] : cases) {
        // One byte more follows the text.
        const vrn_string_array_ptr array(
            vrn_string_array_from_csv((text + "z").c_str(), text.size()));
        EXPECT_EQ(items(array.get()), expected);
    }
    CapturedLog log;
    const std::string too_long = "a," + longest + "x";
    EXPECT_EQ(vrn_string_array_from_csv(too_long.data(), too_long.size()), nullptr);
    EXPECT_EQ(log.take(), Lines{"3 Unable to append string"});
}

TEST(StringArray, RemovesRepeatsOfSortedArrays) {
    CapturedLog log;
    vrn_string_array_t *array = make_array({"a", "a", "b", "c", "c", "c"}).release();
    EXPECT_FALSE(vrn_string_array_remove_duplicates(&array, false));
    EXPECT_EQ(log.take(), Lines{"3 [vrn_string_array_remove_duplicates] not implemented"});
    EXPECT_EQ(array->count, 6U);
    EXPECT_TRUE(vrn_string_array_remove_duplicates(&array, true));
    EXPECT_EQ(items(array), (Lines{"a", "b", "c"}));
    // The block was shrunk and must still grow.
    for (int i = 0; i < 9; ++i) EXPECT_TRUE(vrn_string_array_append(&array, "z"));
    vrn_string_array_free(array);
    vrn_string_array_ptr empty(vrn_string_array_create());
    array = empty.get();
    EXPECT_TRUE(vrn_string_array_remove_duplicates(&array, false));
    EXPECT_EQ(log.take(), Lines{});
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
    vrn_string_array_print(4, make_array({"x", "y"}).get(), "list");
    EXPECT_EQ(log.take(), (Lines{"4 list[0] = x", "4 list[1] = y"}));
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
