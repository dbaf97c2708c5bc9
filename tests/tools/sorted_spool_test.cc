#include "vrn_export/sorted_spool.h"

#include <map>
#include <random>
#include <system_error>

#include "support/file_limit.h"
#include "support/test.h"

namespace vrn::exporter {
namespace {

using test::TempDir;

std::string drained(SortedSpool *spool) {
    std::string all;
    spool->drain([&](std::string_view line) { all += line; });
    return all;
}

TEST(SortedSpool, SortsByKeysAndKeepsTheGreatestLineOfEach) {
    SortedSpool spool(TempDir().path(), 1 << 20);
    EXPECT_EQ(drained(&spool), "");
    spool.add("b\t2\na\t1\nb\t1\n");
    spool.add("\xff\tlast\na\x01\tafter a\n\tfirst\na\t1\nb\t\tgreater\nb\t3\n");
    EXPECT_EQ(drained(&spool), "first\n1\nafter a\n3\nlast\n");
    spool.add("a\tagain\n");
    EXPECT_EQ(drained(&spool), "again\n");
}

// Runs, merges of runs, and lines beyond all buffers give what a map gives.
TEST(SortedSpool, GivesTheSameInAnyMemory) {
    std::mt19937_64 random(5);
    std::map<std::string, std::string> expected;
    std::string text;
    for (int line = 0; line < 6000; ++line) {
        const std::string key = std::to_string(random() % 4000);
        const std::string value(random() % 500 == 0 ? 9000 : random() % 40,
                                random() % 2 == 0 ? 'a' : 'b');
        text.append(key).append("\t").append(value).append("\n");
        expected[key] = std::max(expected[key], value);
    }
    std::string sorted;
    for (const auto &[key, value] : expected) sorted += value + "\n";
    const TempDir dir;
    for (const std::size_t memory : {1u << 24, 1u << 18, 1u << 12}) {
        SCOPED_TRACE(memory);
        SortedSpool spool(dir.path(), memory);
        for (std::string_view rest = text; !rest.empty();) {
            const std::size_t end = rest.find('\n', random() % 3000);
            const std::size_t size = std::min(end == rest.npos ? end : end + 1, rest.size());
            spool.add(rest.substr(0, size));
            rest.remove_prefix(size);
        }
        EXPECT_TRUE(drained(&spool) == sorted);
    }
    EXPECT_TRUE(test::files_in(dir.path()).empty());
}

TEST(SortedSpool, TellsWhenItsFileCannotBeMadeOrWritten) {
    const std::string text = "key\t" + std::string(8000, 'x') + "\n";
    SortedSpool nowhere("/nonexistent", 4096);
    EXPECT_THROW(nowhere.add(text), std::system_error);

    const TempDir dir;
    SortedSpool full(dir.path(), 4096);
    test::with_file_limit(5000, [&] { EXPECT_THROW(full.add(text), std::system_error); });
    EXPECT_TRUE(test::files_in(dir.path()).empty());
}

}  // namespace
}  // namespace vrn::exporter
