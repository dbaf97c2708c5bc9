// What comes out of files whatever the format: selection and faults.
#include "data/schema/schema_text.h"
#include "support/exported_file.h"
#include "support/page_blocks.h"
#include "support/sample_files.h"
#include "support/stream_blocks.h"
#include "support/test.h"
#include "vrn_export/format/record_selection.h"

namespace vrn::exporter {
namespace {

using test::ByteBuilder;
using test::Lines;

constexpr std::size_t chunk_size = 512;
constexpr std::size_t counters_at = 256 + chunk_size, pages_at = counters_at + chunk_size;
constexpr std::size_t metrics_at = pages_at + chunk_size, file_size = metrics_at + chunk_size;

std::string events(std::uint64_t time, std::uint16_t type, std::size_t row_size) {
    ByteBuilder block;
    block.text("VRNE").u64(time).u8(0).u16(type).u8(2);
    for (const std::uint64_t row_time : {time, time + 10})
        block.text(ByteBuilder().u64(row_time).pad_to(row_size).done().substr(0, row_size));
    return block.done();
}

std::string counters(std::uint64_t time) {
    return ByteBuilder().text("VRND").u32(0).u64(time).zeros(40).done();
}

// Events of a type with a time (100, 110) and of one without (200), counters (300), pages of source
// "abc" with times 1000 to 2000, and metrics (1000, 2000, 3000).
std::string sample_file() {
    return ByteBuilder()
        .text(test::sample_file_header(chunk_size))
        .text(events(100, 1, 32) + events(200, 0, 4))
        .pad_to(counters_at)
        .text(counters(300))
        .pad_to(pages_at)
        .text(test::encode_page(VRN_ENCODING_GZIP, events(1500, 1, 32)))
        .text(test::encode_page(VRN_ENCODING_SNAPPY, counters(1600)))
        .pad_to(metrics_at)
        .text(test::sample_stream().build())
        .pad_to(file_size)
        .done();
}

class ExportedRecords : public testing::Test {
  protected:
    ExportedRecords() { test::write_sample_schemas(dir_); }

    // "move n point n g n metrics n" without those that have none.
    static std::string summary(test::ExportedFile *file) {
        std::string all;
        for (const std::string type : {"move", "point", "g", "metrics", "histograms"}) {
            std::size_t count = 0;
            const std::string head = "{\"type\":\"" + type + "\"";
            for (std::size_t at = file->text().find(head); at != std::string::npos;
                 at = file->text().find(head, at + 1))
                ++count;
            if (count > 0) all += (all.empty() ? "" : " ") + type + " " + std::to_string(count);
        }
        return all;
    }

    test::TempDir dir_;
};

TEST_F(ExportedRecords, AreThoseThatAreSelected) {
    const std::string fields = dir_.write("a.fset", "[point]\nx\n[m*]\ntrack\n");
    const std::string set = dir_.write("a.cset", "^a$\nu\n");
    const struct {
        const char *name;
        SelectionOptions selection;
        const char *found;
        const char *first = "";  // members after the first record's time
    } cases[] = {
        {"all", {}, "move 4 point 2 g 2 metrics 4"},
        {"types", {.types = {"m*", "none"}}, "move 4"},
        {"types and metrics", {.types = {"point"}, .metrics = {"b?sy"}}, "point 2 metrics 2"},
        {"case counts", {.types = {"Move"}}, ""},
        {"fields",
         {.fields = {"track.?", "loa*"}},
         "move 4",
         R"("track":[{"x":0,"y":0},{"x":0,"y":0}],"load":0})"},
        {"a field with what is below it",
         {.fields = {"track"}},
         "move 4",
         R"("track":[{"x":0,"y":0},{"x":0,"y":0}]})"},
        {"one field of two types",
         {.fields = {"*x"}},
         "move 4 point 2",
         R"("track":[{"x":0},{"x":0}]})"},
        {"counters", {.counters = {"f", "g.s"}}, "g 2", R"("f":0,"s":""})"},
        {"a field set",
         {.field_set_file = fields},
         "move 4 point 2",
         R"("track":[{"x":0},{"x":0}]})"},
        {"a counter set",
         {.counter_set_file = set},
         "g 2",
         R"("a":0,"u":"00000000-0000-0000-0000-000000000000"})"},
        {"the source of the file", {.sources = {"node*"}}, "move 2 point 2 g 1 metrics 4"},
        {"the source of the pages", {.sources = {"a?c"}}, "move 2 g 1"},
        {"a tag", {.tags = {"x"}}, "move 2 g 1"},
        {"since", {.since = 110}, "move 3 point 2 g 2 metrics 4"},
        {"until", {.until = 110}, "move 1"},
        {"between", {.since = 300, .until = 1001}, "g 1 metrics 2"},
        {"no page", {.since = 2001}, "metrics 1"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        test::ExportedFile file =
            test::export_file(sample_file(), dir_, FormatOptions{.selection = one.selection});
        EXPECT_EQ(summary(&file), one.found);
        EXPECT_EQ(file.faults, Lines{});
        const std::string line = file.text().substr(0, file.text().find('\n'));
        EXPECT_TRUE(line.ends_with(one.first)) << line;
    }
}

TEST_F(ExportedRecords, NeedUsableSetFiles) {
    const std::string none = dir_.write("none.fset", "# nothing\n");
    for (const std::string &path : {none, dir_.file("absent")}) {
        EXPECT_NE(test::error_of([&] { RecordSelection({.field_set_file = path}); }), "");
        EXPECT_NE(test::error_of([&] { RecordSelection({.counter_set_file = path}); }), "");
    }
}

TEST(RecordSelection, PassesFilesOverByTheirHeaders) {
    const auto takes = [](const SelectionOptions &options, std::uint64_t first, std::uint64_t last,
                          std::uint64_t size = 1000) {
        auto header = load_le<vrn_data_file_header_t>(test::sample_file_header(512).data());
        header.first_timestamp = first;
        header.last_timestamp = last;
        header.file_size = size;
        return RecordSelection(options).takes_file(header);
    };
    EXPECT_TRUE(takes({.since = 20, .until = 21}, 10, 20));
    EXPECT_TRUE(takes({.since = 5, .until = 11}, 10, 20));
    EXPECT_FALSE(takes({.since = 21}, 10, 20));
    EXPECT_FALSE(takes({.until = 10}, 10, 20));
    // Bounds that tell nothing: no time, falling ones, those before an append.
    EXPECT_TRUE(takes({.since = 21}, 0, 20));
    EXPECT_TRUE(takes({.since = 21}, 10, 0));
    EXPECT_TRUE(takes({.since = 21}, 20, 10));
    EXPECT_TRUE(takes({.since = 21}, 10, 20, std::uint64_t{1} << 63));
    EXPECT_TRUE(RecordSelection({.since = 1}).takes_time(~std::uint64_t{0}));
    EXPECT_TRUE(takes({.sources = {"node?"}}, 10, 20));
    EXPECT_FALSE(takes({.sources = {"node"}}, 10, 20));
    EXPECT_FALSE(takes({.tags = {"?*"}}, 10, 20));
}

struct Damage {
    const char *name;
    std::function<void(std::string *)> make;
    std::string found;
    Lines faults;
};

auto put(std::size_t offset, const std::string &with) {
    return [=](std::string *bytes) { bytes->replace(offset, with.size(), with); };
}
auto cut(std::size_t size) {
    return [=](std::string *bytes) { bytes->resize(size); };
}

TEST_F(ExportedRecords, ComeOutAroundFaults) {
    const std::string metrics = test::sample_stream().build();
    const std::size_t records_at = metrics_at + metrics.find("CNTD") + 8;
    const std::size_t second_record = records_at + 14 + 2 * 10 + 3 + 2;
    const std::size_t second_size = 14 + 10 + 3 + 2 + 6;
    const auto at = [](std::size_t offset, std::size_t length, const std::string &kind) {
        return std::to_string(offset) + " " + std::to_string(length) + " " + kind;
    };
    const std::size_t page_size = test::encode_page(VRN_ENCODING_GZIP, events(1500, 1, 32)).size();
    const std::size_t second_page_size =
        test::encode_page(VRN_ENCODING_SNAPPY, counters(1600)).size();
    const std::string all = "move 4 point 2 g 2 metrics 4";
    const Damage cases[] = {
        {"header", put(0, "x"), "", {"0 0 header_bad"}},
        {"cut header", cut(100), "", {"0 0 header_cut"}},
        {"block size", put(112, std::string(4, '\0')), "", {"0 0 block_size"}},
        {"event schema of the header",
         put(132, std::string(16, '\x99')),
         "g 2 metrics 4",
         {"0 0 schema_missing"}},
        {"no event schema",
         put(132, std::string(16, '\0')),
         "g 2 metrics 4",
         {at(256, 512 + 80, "schema_none")}},
        {"counters schema",
         put(116, std::string(16, '\x99')),
         "move 4 point 2 metrics 4",
         {"0 0 schema_missing"}},
        {"event header cut", cut(256 + 15), "", {at(256, 15, "block_cut")}},
        {"rows cut", cut(256 + 16 + 40), "move 1", {at(256 + 16 + 32, 32, "rows_cut")}},
        {"counters header cut",
         cut(counters_at + 15),
         "move 2 point 2",
         {at(counters_at, 15, "block_cut")}},
        {"counters cut",
         cut(counters_at + 16 + 39),
         "move 2 point 2",
         {at(counters_at + 16 + 39, 1, "rows_cut")}},
        {"unknown block",
         put(counters_at, "wwww"),
         "move 4 point 2 g 1 metrics 4",
         {at(counters_at, chunk_size, "block_unknown")}},
        {"damaged page",
         put(pages_at + 60, "wwww"),
         "move 2 point 2 g 2 metrics 4",
         {at(pages_at, page_size, "page_damaged")}},
        {"both pages",
         [=](std::string *bytes) {
             put(pages_at + 60, "wwww")(bytes);
             put(pages_at + page_size + 33, std::string(8, '\xff'))(bytes);
         },
         "move 2 point 2 g 1 metrics 4",
         {at(pages_at, page_size, "page_damaged"),
          at(pages_at + page_size, second_page_size, "page_damaged")}},
        {"metrics cut",
         cut(metrics_at + 100),
         "move 4 point 2 g 2",
         {at(metrics_at, 100, "block_cut")}},
        {"metrics table",
         put(metrics_at + metrics.find("LBLV") + 4, "\xff\xff"),
         "move 4 point 2 g 2",
         {at(metrics_at, metrics.size(), "metrics_block")}},
        {"second record",
         put(second_record + 10, "X"),
         "move 4 point 2 g 2 metrics 2",
         {at(second_record, metrics_at + metrics.size() - second_record, "metrics_record")}},
        {"metric of a record",
         put(second_record + 14, "\xff"),
         "move 4 point 2 g 2 metrics 3",
         {at(second_record, second_size, "metrics_names")}},
        {"label set of a record",
         put(second_record + 24, "\x07"),
         "move 4 point 2 g 2 metrics 3",
         {at(second_record, second_size, "metrics_names")}},
        {"tail", [](std::string *bytes) { *bytes += "ab"; }, all, {at(file_size, 0, "tail_short")}},
    };
    for (const Damage &damage : cases) {
        SCOPED_TRACE(damage.name);
        std::string bytes = sample_file();
        damage.make(&bytes);
        test::ExportedFile file = test::export_file(bytes, dir_, FormatOptions{});
        EXPECT_EQ(summary(&file), damage.found);
        EXPECT_EQ(file.faults, damage.faults) << (file.reasons.empty() ? "" : file.reasons[0]);
    }
}

// A few bytes must not become endless text.
TEST_F(ExportedRecords, AreRefusedWhenTheyBecomeTooMuchText) {
    const auto export_types = [&](const std::string &types, const std::string &rows) {
        dir_.write(std::string("schema/schema_") + test::sample_events_id + ".json",
                   test::schema_text(types));
        return test::export_file(test::sample_file_header(1 << 20) + rows, dir_, FormatOptions{});
    };
    // 600 rows of a byte, each with a name of 200,000.
    const std::string name(200'000, 'n');
    std::string blocks;
    for (int i = 0; i < 6; ++i)
        blocks += ByteBuilder().text("VRNE").u64(1).u8(0).u16(0).u8(100).zeros(100).done();
    test::ExportedFile file = export_types("t 1 " + name + ":uint8_t@0,1", blocks);
    EXPECT_LT(file.text().size(), 68U << 20);
    EXPECT_GT(file.counts.events, 300U);
    EXPECT_LT(file.counts.events, 400U);
    EXPECT_EQ(file.faults, Lines{"604 300 text_limit"});

    const std::string row =
        ByteBuilder().text("VRNE").u64(1).u8(0).u16(1).u8(1).zeros(400'000).done();
    file = export_types("a 40000 x:uint8_t@0,1x40000;t 400000 a:a@0,40000x10", row);
    EXPECT_EQ(file.counts.events, 0U);
    EXPECT_EQ(file.faults, Lines{"256 400000 type_too_wide"});
}

}  // namespace
}  // namespace vrn::exporter
