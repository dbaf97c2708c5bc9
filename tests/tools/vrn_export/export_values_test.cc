// Times, names of parts, progress, and shares of inputs.
#include <random>

#include "common/command_line.h"
#include "support/test.h"
#include "vrn_export/part_name.h"
#include "vrn_export/progress.h"
#include "vrn_export/shard.h"
#include "vrn_export/time_value.h"

namespace vrn::exporter {
namespace {

using test::Lines;

TEST(TimeValue, TakesIsoTimesAndMicroseconds) {
    const struct {
        const char *text;
        std::uint64_t time;
    } cases[] = {
        {"0", 0},
        {"1700000000000000", 1700000000000000},
        {"18446744073709551615", 18446744073709551615U},
        {"1970-01-01", 0},
        {"2024-02-29", 1709164800000000},
        {"2024-02-29T23:59", 1709251140000000},
        {"2024-02-29 23:59:58", 1709251198000000},
        {"2024-02-29T23:59:58.5Z", 1709251198500000},
        {"2024-02-29T23:59:58.1234567Z", 1709251198123456},
        {"2024-02-29T23:59:58+02:00", 1709243998000000},
        {"2024-02-29T23:59:58-0130", 1709256598000000},
        {"2024-02-29+05", 1709146800000000},
    };
    for (const auto &[text, time] : cases) EXPECT_EQ(time_value(text), time) << text;
}

TEST(TimeValue, RefusesWhatIsNone) {
    for (const char *text :
         {"", "-1", "1e9", "now", "2024-02-30", "2023-02-29", "2024-13-01", "2024-1-01", "2024-01",
          "1969-12-31", "2024-01-01T", "2024-01-01T24:00", "2024-01-01T10",
          "2024-01-01T10:00:", "2024-01-01T10:00:00.", "2024-01-01T10:00Z1", "2024-01-01T10:00+",
          "2024-01-01T10:00+25", "2024-01-01x"})
        EXPECT_THROW(time_value(text), tool::BadValue) << text;
}

TEST(Progress, TellsRateAndTimeLeft) {
    EXPECT_EQ(Progress::text({3, 20, 1'500'000, 3'001'500'000, 2}),
              "3 of 20 files, 1.5 MB of 3.0 GB, 750.0 kB/s, 1:06:40 left");
    EXPECT_EQ(Progress::text({0, 1, 0, 999, 0}), "0 of 1 files, 0 B of 999 B, 0 B/s");
    EXPECT_EQ(Progress::text({1, 1, 2000, 1000, 1}),
              "1 of 1 files, 2.0 kB of 1.0 kB, 2.0 kB/s, 0:00:00 left");
}

TEST(PartName, StaysBelowItsFolderInOneLine) {
    const std::string two_bytes = "\xC3\xA4";
    std::string long_name = "x";
    while (long_name.size() < 250) long_name += two_bytes;
    const struct {
        std::string path, name;
    } cases[] = {
        {"a.bin", "a.bin.x"},
        {"/data/a.bin", "data/a.bin.x"},
        {"../../a/./b/..//c", "a/b/c.x"},
        {"...", "....x"},
        // No folder bears the name of a part.
        {"a.ndjson/b.csv.gz/.om/c.lines.zst/d.gz/e.om",
         "a%2Endjson/b.csv%2Egz/%2Eom/c.lines%2Ezst/d.gz/e.om.x"},
        {"a\nb\x7f\x1b[m\xff%/c", "a%0Ab%7F%1B[m%FF%25/c.x"},
        {two_bytes, two_bytes + ".x"},
        {"\xC2\x85", "%C2%85.x"},
        {long_name + "1234", long_name.substr(0, 235) + "~93f469dd549211b4.x"},
        {long_name + "12345", long_name.substr(0, 235) + "~fa616416b433be33.x"},
    };
    for (const auto &[path, name] : cases) EXPECT_EQ(part_name(path, ".x"), name) << path;
    EXPECT_EQ(table_file_name("../a/b", ".x"), "%2E.%2Fa%2Fb.x");
    EXPECT_EQ(table_file_name("", ".x"), "%.x");
}

std::vector<tool::InputFile> random_files() {
    std::mt19937 random(1);
    std::vector<tool::InputFile> files;
    for (std::uint64_t i = 0; i < 50; ++i)
        files.push_back({"f" + std::to_string(i), {}, random() % 1'000'000});
    return files;
}

Lines paths_of(const std::vector<tool::InputFile> &files) {
    Lines paths;
    for (const tool::InputFile &file : files) paths.push_back(file.path);
    return paths;
}

TEST(Shard, SharesTheInputsWhateverTheirOrder) {
    const std::vector<tool::InputFile> files = random_files();
    const std::vector<tool::InputFile> reversed(files.rbegin(), files.rend());
    for (const std::uint64_t count : {1U, 2U, 7U, 49U, 200U}) {
        SCOPED_TRACE(count);
        Lines all;
        for (std::uint64_t number = 1; number <= count; ++number) {
            std::vector<tool::InputFile> share = files;
            std::vector<tool::InputFile> again = reversed;
            keep_shard({number, count}, &share);
            keep_shard({number, count}, &again);
            EXPECT_EQ(paths_of(share), paths_of(again));
            EXPECT_EQ(digest_of(share), digest_of(again));
            // 25 MB on average in all.
            std::uint64_t bytes = 0;
            for (const tool::InputFile &file : share) bytes += file.size;
            EXPECT_LT(bytes, 35'000'000 / count + 2'000'000);
            for (const std::string &path : paths_of(share)) all.push_back(path);
        }
        std::vector<tool::InputFile> sorted = files;
        keep_shard({1, 1}, &sorted);
        EXPECT_EQ(all, paths_of(sorted));
    }
    std::vector<tool::InputFile> none;
    keep_shard({1, 3}, &none);
    EXPECT_EQ(none.size(), 0U);
}

TEST(Shard, RefusesWhatIsNoShare) {
    EXPECT_EQ(shard_value("3/4"), (Shard{3, 4}));
    for (const char *text :
         {"", "1", "/", "0/4", "5/4", "1/0", "-1/4", "1/4/4", "a/4", "1/1000001"})
        EXPECT_THROW(shard_value(text), tool::BadValue) << text;
}

}  // namespace
}  // namespace vrn::exporter
