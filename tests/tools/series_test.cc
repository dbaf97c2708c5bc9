#include <algorithm>
#include <random>

#include "metrics/chart/page_text.h"
#include "metrics/cntx_builder.h"
#include "scan/chunk_feed.h"
#include "series/file_series.h"
#include "series/file_times.h"
#include "support/sample_files.h"
#include "support/store_text.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::MetricsHistory;
using series::FileSeries;
using series::SeriesOptions;

// Bytes of the file of sample_files.h, their schemas, and the options of a run.
struct Sample {
    TempDir dir;
    SeriesOptions options;
    MetricsHistory store;

    explicit Sample(SeriesOptions given = {}) : options(std::move(given)) {
        write_sample_schemas(dir);
        store.set_default_capacity(100);
        series::prepare_store(options, &store);
    }

    bool store_bytes(const std::string &bytes) {
        dir.write("a.bin", bytes);
        series::SchemaFolders folders(&options);
        return series::store_file(dir.file("a.bin"), options, &folders, &store);
    }

    // Names and labels of the series, without their samples.
    Lines names() const {
        Lines names;
        for (const std::string &line : shown(store))
            names.push_back(line.substr(0, line.find('}') + 1));
        return names;
    }
};

std::string samples_of(const Sample &sample, const std::string &name) {
    for (const std::string &line : shown(sample.store))
        if (line.starts_with(name + "{")) return line;
    return "";
}

TEST(FileSeries, MakesSeriesOfCountersAndNumbersOfEvents) {
    Sample sample({.label_fields = {"name"}});
    EXPECT_TRUE(sample.store_bytes(sample_data_file()));
    Lines expected;
    for (const char *name : {"move.guid", "move.load", "move.track.0.x", "move.track.0.y",
                             "move.track.1.x", "move.track.1.y"})
        for (const char *source : {"abc", "node1"})  // of a page, of the file
            expected.push_back(std::string(name) + "{name=eth0|source=" + source + "}");
    for (const char *name : {"a{group=g|", "f{group=g|", "point.x{", "point.y{", "u{group=g|"})
        for (const char *source : {"abc", "node1"})
            expected.push_back(std::string(name) + "source=" + source + "}");
    std::ranges::sort(expected);
    EXPECT_EQ(sample.names(), expected);
    // The rows' own times; without one, the block's.
    EXPECT_EQ(samples_of(sample, "move.track.1.y"),
              "move.track.1.y{name=eth0|source=abc} G 1000=4 1001=4");
    EXPECT_EQ(samples_of(sample, "point.x"), "point.x{source=abc} G 1000=0 1000=1");
    EXPECT_EQ(samples_of(sample, "u"),  // 2 * 2^64 + 1
              "u{group=g|source=abc} G 1700000000000000=3.68935e+19 "
              "1700000000000000=3.68935e+19");
}

TEST(FileSeries, TakesWhatIsSelected) {
    Sample sample({.select = {"move.track.?.x", "a", "cpu*", "lat_sum"}});
    EXPECT_TRUE(sample.store_bytes(sample_data_file()));
    metrics::CntxBuilder builder;
    builder.add_label_set({"port"});
    const std::uint16_t ids[] = {builder.add_metric("cpu_user"), builder.add_metric("disk")};
    for (const std::uint16_t id : ids)
        builder.add_record({.timestamp = 1,
                            .metric_type = 'G',
                            .labels = {metrics::CntxBuilder::label_by_text("it's")},
                            .samples = {{id, 7}}});
    EXPECT_TRUE(sample.store_bytes(
        ByteBuilder().text(sample_file_header(1024)).text(builder.build()).done()));
    EXPECT_EQ(sample.names(), (Lines{"a{group=g|source=abc}", "a{group=g|source=node1}",
                                     "cpu_user{port=it\\u0027s}", "move.track.0.x{source=abc}",
                                     "move.track.0.x{source=node1}", "move.track.1.x{source=abc}",
                                     "move.track.1.x{source=node1}"}));
    EXPECT_EQ(sample.store.label_sets().size(), 5u);
}

TEST(FileSeries, TakesAFileRunByRunIntoStoresThatChange) {
    Sample whole;
    whole.store_bytes(sample_data_file());
    Sample parts;
    FileSeries file(parts.options, nullptr, &parts.store);
    series::SchemaFolders folders(&parts.options);
    scan::SchemaCache *cache = &folders.of_file(parts.dir.file("a.bin"))->schemas;
    const std::string bytes = sample_data_file();
    const auto walk_all = [&] {
        const auto source = ByteSource::open_memory(bytes_of(bytes));
        scan::ChunkFeed feed(source.get(), cache);
        ASSERT_TRUE(feed.open(&file));
        scan::PageBuffer buffer;
        for (scan::ChunkRun run; feed.take(&run);) walk_chunk_run(run, cache, &buffer, &file);
        EXPECT_EQ(file.take_loss(), "");
    };
    walk_all();
    EXPECT_EQ(shown(parts.store), shown(whole.store));
    Sample other;
    file.use_store(&other.store);
    walk_all();
    EXPECT_EQ(shown(other.store), shown(whole.store));
}

TEST(FileSeries, TellsWhatIsLost) {
    const std::string file = sample_data_file();
    const auto with = [&](std::size_t offset, const std::string &bytes) {
        return std::string(file).replace(offset, bytes.size(), bytes);
    };
    const struct {
        const char *name;
        std::string bytes, loss;
    } cases[] = {
        {"short", "short", "holds no data file header"},
        {"magic", with(0, "X"), "is no data file"},
        {"block size", with(112, std::string(4, '\xff')), "has a block size out of range"},
        {"schema id", with(132, "\x01"), "names schemas that can't be loaded"},
        {"cut row", file.substr(0, file.size() - 4), "holds counters that are cut off"},
        {"page", with(256 + 2 * 384 + 60, "XXXXXXXX"), "holds a damaged page"},
        {"unknown block", with(256, "ABCZ"), "holds a block of unknown type"},
    };
    for (const auto &[name, bytes, loss] : cases) {
        SCOPED_TRACE(name);
        Sample sample;
        CapturedLog log;
        EXPECT_FALSE(sample.store_bytes(bytes));
        Lines lines = log.take();
        EXPECT_EQ(lines.empty() ? "" : lines.back(), "3 " + sample.dir.file("a.bin") + ": " + loss);
    }

    Sample sample;
    CapturedLog log;
    sample.store.set_metric_type("point.x", metrics::ValueType::float64);
    sample.store.set_metric_type("f", metrics::ValueType::uint64);
    EXPECT_FALSE(sample.store_bytes(file));
    EXPECT_EQ(sample.names().size(), 18u);  // the others
}

TEST(FileSeries, TakesNoHarmFromDamage) {
    const std::string file = sample_data_file();
    std::minstd_rand random(7);
    CapturedLog log;
    for (int round = 0; round < 150; ++round) {
        std::string bytes = file;
        for (int i = 0; i < 4; ++i)
            bytes[112 + random() % (bytes.size() - 112)] = static_cast<char>(random());
        Sample sample({.label_fields = {"x", "name"}});
        sample.store.set_max_bytes(1 << 20);
        sample.store_bytes(bytes);
        for (const metrics::SeriesKey &key : sample.store.series_keys())
            EXPECT_GT(sample.store.count_samples(key, 0, 0), 0u);
    }
}

TEST(SortByTime, TakesTimesFromHeaders) {
    TempDir dir;
    std::vector<tool::InputFile> files;
    for (const char time : {'\3', '\0', '\1', '\2'}) {
        std::string bytes = sample_file_header(64);
        bytes[96] = time;
        const std::string name(1, static_cast<char>('0' + time));
        dir.write(name, time == 0 ? "no data file" : bytes);
        files.push_back({dir.file(name), {}, 0});
    }
    series::sort_by_time(&files);
    std::string order;
    for (const tool::InputFile &file : files) order += file.path.back();
    EXPECT_EQ(order, "0123");
}

}  // namespace
}  // namespace vrn::test
