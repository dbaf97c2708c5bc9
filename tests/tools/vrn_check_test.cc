#include <algorithm>
#include <functional>

#include "data/data_file_header.h"
#include "support/page_blocks.h"
#include "support/sample_files.h"
#include "support/stream_blocks.h"
#include "support/test.h"
#include "vrn_check/file_check.h"

namespace vrn::check {
namespace {

using test::ByteBuilder;
using test::Lines;

constexpr std::size_t chunk_size = 512;
// Where the blocks of the sound file begin; counters rows have 40 bytes, rows of type 1 have 32.
constexpr std::size_t events_at = 256, short_events_at = 336, counters_at = 768, pages_at = 1280;
constexpr std::size_t metrics_at = 1792, last_at = 2304, file_size = 2360;

vrn_schema_id_t id_of(const std::string &schema) {
    vrn_schema_id_t id{};
    EXPECT_TRUE(vrn_md5_of_string(schema.c_str(), &id));
    return id;
}

std::string schema_name(const vrn_schema_id_t &id) {
    char hex[VRN_SCHEMA_ID_HEX_SIZE];
    vrn_schema_id_format(&id, hex);
    return std::string("schema/schema_") + hex + ".json";
}

std::string events(std::uint64_t time, std::uint8_t rows) {
    return ByteBuilder().text("VRNE").u64(time).u8(0).u16(1).u8(rows).zeros(32 * rows).done();
}

std::string short_events(std::uint64_t time) {
    return ByteBuilder().text("VRNE").u64(time).u8(0).u16(0).u8(2).u64(1).done();
}

std::string counters(std::uint64_t time) {
    return ByteBuilder().text("VRND").u32(0).u64(time).zeros(40).done();
}

std::string header() {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    header->block_size = chunk_size;
    header->file_size = file_size;
    header->first_timestamp = 1000;
    header->last_timestamp = 4000;
    header->event_schema_ids[0] = id_of(test::sample_event_schema());
    header->counters_schema_id = id_of(test::sample_counters_schema());
    return ByteBuilder().raw(header.get(), sizeof *header).done();
}

std::string gzip_page() {
    return test::encode_page(VRN_ENCODING_GZIP, events(2100, 2) + short_events(2200));
}

std::string snappy_page() {
    return test::encode_page(VRN_ENCODING_SNAPPY, counters(2300) + counters(2400));
}

std::string sound_file() {
    return ByteBuilder()
        .text(header())
        .text(events(1000, 2) + short_events(1500))
        .pad_to(counters_at)
        .text(counters(2000))
        .pad_to(pages_at)
        .text(gzip_page())
        .text(snappy_page())
        .pad_to(metrics_at)
        .text(test::sample_stream().build())
        .pad_to(last_at)
        .text(counters(4000))
        .done();
}

std::string in_chunk(const std::string &block) {
    return ByteBuilder().text(block).pad_to(chunk_size).done();
}

class VrnCheck : public testing::Test {
  protected:
    VrnCheck() {
        for (const std::string &schema :
             {test::sample_event_schema(), test::sample_counters_schema()})
            write_schema(schema_name(id_of(schema)), schema);
    }

    void write_schema(const std::string &name, const std::string &text) {
        dir_.write(name, text);
        schemas_ = std::make_unique<SchemaTexts>(dir_.file("schema"));
    }

    // Each fault as "offset lost kind", or "offset+in_page lost kind".
    Lines check(const std::string &bytes) {
        const std::string path = dir_.write("a.bin", bytes);
        scan::PageBuffer page;
        Lines found;
        const auto take = [&](const FileFault &fault) {
            const std::string in_page = fault.in_page ? "+" + std::to_string(*fault.in_page) : "";
            found.push_back(std::to_string(fault.offset) + in_page + " " +
                            std::to_string(fault.lost) + " " + std::string(fault.kind));
        };
        totals_ = FileCheck(path, schemas_.get(), &page, take).run();
        EXPECT_EQ(totals_.faults, found.size());
        EXPECT_EQ(test::read_file(path), bytes);
        return found;
    }

    test::TempDir dir_;
    std::unique_ptr<SchemaTexts> schemas_;
    Totals totals_;
};

TEST_F(VrnCheck, FindsNothingInASoundFile) {
    ASSERT_EQ(sound_file().size(), file_size);
    EXPECT_EQ(check(sound_file()), Lines{});
    EXPECT_EQ(totals_.bytes, file_size);

    // Records without labels need no label set.
    metrics::CntxBuilder bare;
    const std::uint16_t id = bare.add_metric("m");
    bare.add_record({.timestamp = 3000, .samples = {{id, 1}}});
    std::string bytes = sound_file();
    bytes.replace(metrics_at, chunk_size, in_chunk(bare.build()));
    EXPECT_EQ(check(bytes), Lines{});
}

struct Damage {
    const char *name;
    std::function<void(std::string *)> make;
    Lines faults;
};

template <typename T>
auto set(std::size_t offset, T value) {
    return [=](std::string *bytes) { std::memcpy(bytes->data() + offset, &value, sizeof value); };
}

auto put(std::size_t offset, const std::string &with) {
    return [=](std::string *bytes) { bytes->replace(offset, with.size(), with); };
}

auto cut(std::size_t size) {
    return [=](std::string *bytes) { bytes->resize(size); };
}

TEST_F(VrnCheck, TellsWhereEachFaultLies) {
    const std::size_t page_size = gzip_page().size();
    const std::string second_page = std::to_string(pages_at + page_size);
    const std::size_t stream_end = pages_at + page_size - 4;
    const std::size_t page_data_size = load_le<std::uint32_t>(bytes_of(gzip_page()).data() + 6);
    const std::string metrics = test::sample_stream().build();
    const std::size_t records_at = metrics_at + metrics.find("CNTD") + 8;
    const std::string tail_page =
        test::encode_page(VRN_ENCODING_SNAPPY, counters(2300) + counters(2400) + "tail");
    const std::string odd_events = in_chunk(events(1000, 2) + "odd" + short_events(1500));
    const Damage damages[] = {
        {"empty", cut(0), {"0 0 header_cut"}},
        {"header cut", cut(255), {"0 255 header_cut"}},
        {"no data file", put(0, "VRNX"), {"0 2360 no_data_file"}},
        {"newer version", set(5, std::uint8_t{99}), {"4 2360 header_bad"}},
        {"closing magic", put(252, "VRNF"), {"252 0 header_bad"}},
        {"no block size", set(112, std::uint32_t{0}), {"112 2104 block_size"}},
        {"size below the header's", set(8, std::uint64_t{255}), {"8 0 header_bad"}},
        {"size too small", set(8, std::uint64_t{2000}), {"8 0 header_size"}},
        {"size too large", set(8, std::uint64_t{2400}), {"2360 40 header_size"}},
        {"unfinished append", set(15, std::uint8_t{0x80}), {"8 0 header_size"}},
        {"begins late", set(96, std::uint64_t{1001}), {"96 0 header_times"}},
        {"ends early", set(104, std::uint64_t{3999}), {"96 0 header_times"}},
        {"times turned round", set(96, std::uint64_t{4001}), {"96 0 header_times"}},
        {"no times", put(96, std::string(16, '\0')), {}},
        {"time outlier",
         set(counters_at + 8, std::uint64_t{9000}),
         {"1280+0 0 time_jump", "96 0 header_times"}},
        {"row cut", cut(last_at + 50), {"2354 6 rows_cut", "2354 6 header_size"}},
        {"block cut", cut(last_at + 10), {"2304 10 block_cut", "2314 46 header_size"}},
        {"short tail", cut(last_at + 3), {"2304 3 tail_short", "2307 53 header_size"}},
        {"rows beyond the chunk",
         set(short_events_at + 15, std::uint8_t{200}),
         {"768 384 rows_cut"}},
        {"rows over the next block", set(events_at + 15, std::uint8_t{3}), {"336 32 block_hidden"}},
        {"later block in padding",
         put(counters_at + 256, counters(2001)),
         {"1024 256 block_hidden"}},
        {"old block in padding", put(counters_at + 256, counters(1999)), {}},
        {"metrics in padding", put(metrics_at + 256, metrics), {"2048 256 block_hidden"}},
        {"page over the next page",
         [&](std::string *bytes) {
             put(pages_at, in_chunk(gzip_page() + gzip_page()))(bytes);
             set(pages_at + 6, static_cast<std::uint32_t>(page_data_size + page_size))(bytes);
         },
         {second_page + " " + std::to_string(page_size) + " block_hidden"}},
        {"no block", put(counters_at, "????"), {"768 512 block_unknown"}},
        {"bytes between events", put(events_at, odd_events), {"336 3 not_a_block"}},
        {"unknown type", set(events_at + 13, std::uint16_t{9}), {"256 80 type_unknown"}},
        {"unknown schema", set(events_at + 12, std::uint8_t{3}), {"256 80 type_unknown"}},
        {"no counters schema",
         put(116, std::string(16, '\0')),
         {"768 512 schema_none", second_page + "+0 56 schema_none",
          second_page + "+56 56 schema_none", "2304 56 schema_none"}},
        {"schema that isn't there", set(116, std::uint8_t{1}), {"116 0 schema_missing"}},
        {"page magic",
         put(pages_at, "????"),
         {"1280 " + std::to_string(page_size) + " block_unknown"}},
        {"page end", put(stream_end, "????"), {"1280 " + std::to_string(page_size) + " page_cut"}},
        {"page stream",
         put(pages_at + 45, "????"),
         {"1280 " + std::to_string(page_size) + " page_damaged"}},
        {"page trailer",
         set(stream_end - 4, std::uint32_t{99}),
         {"1280 " + std::to_string(page_size) + " page_trailer"}},
        {"page checksum",
         set(stream_end - 8, std::uint32_t{99}),
         {"1280 " + std::to_string(page_size) + " page_trailer"}},
        {"page tail", put(pages_at, in_chunk(tail_page)), {"1280+112 4 page_tail"}},
        {"metrics size", set(metrics_at + 4, std::uint32_t{9000}), {"1792 512 block_cut"}},
        {"metrics table",
         put(metrics_at + metrics.find("CNTD"), "????"),
         {"1792 " + std::to_string(metrics.size()) + " metrics_block"}},
        {"metric beyond its table",
         set(records_at + 14, std::uint16_t{2}),
         {std::to_string(records_at) + " 39 metrics_names"}},
        {"label beyond its table",
         set(records_at + 38, std::uint8_t{2}),
         {std::to_string(records_at) + " 39 metrics_names"}},
        {"label set beyond its table",
         set(records_at + 34, std::uint8_t{2}),
         {std::to_string(records_at) + " 39 metrics_names"}},
        {"metrics record",
         set(records_at + 10, 'Z'),
         {std::to_string(records_at) + " " +
          std::to_string(metrics_at + metrics.size() - records_at) + " metrics_record"}},
        {"blob beyond its chunk",
         put(counters_at, ByteBuilder().text("VRNB").u64(2000).u64(493).done()),
         {"768 512 block_cut"}},
    };
    for (const Damage &damage : damages) {
        SCOPED_TRACE(damage.name);
        std::string bytes = sound_file();
        damage.make(&bytes);
        EXPECT_EQ(check(bytes), damage.faults);
    }
}

TEST_F(VrnCheck, SizesOfCompressedFilesMustHold) {
    std::string bytes = sound_file();
    EXPECT_EQ(check(test::encode(VRN_ENCODING_GZIP, bytes)), Lines{});
    set(8, std::uint64_t{256})(&bytes);
    EXPECT_EQ(check(test::encode(VRN_ENCODING_GZIP, bytes)), Lines{"8 0 header_size"});
    // Many of these are more than can be told.
    set(8, std::uint64_t{1} << 62)(&bytes);
    EXPECT_EQ(check(test::encode(VRN_ENCODING_GZIP, bytes)),
              Lines{"2360 4611686018427385544 header_size"});
    Totals sum;
    for (int i = 0; i < 5; ++i) sum += totals_;
    EXPECT_EQ(sum.lost, std::numeric_limits<std::uint64_t>::max());
}

TEST_F(VrnCheck, SchemasMustBeWhatTheirIdsStandFor) {
    const vrn_schema_id_t id = id_of(test::sample_event_schema());
    const std::string name = schema_name(id);
    write_schema(name, test::sample_event_schema() + "\n");
    EXPECT_EQ(check(sound_file()), Lines{"132 0 schema_text"});
    write_schema(name, "{");
    EXPECT_EQ(check(sound_file()), Lines{"132 0 schema_text"});

    // Also those of a schemas block, whose text does hash to its id.
    write_schema(name, test::sample_event_schema());
    const vrn_schema_id_t bad = id_of("{"), absent = id_of("absent");
    write_schema(schema_name(bad), "{");
    const auto block = [](const vrn_schema_id_t &named) {
        ByteBuilder bytes;
        return bytes.text("VRNS").u16(256).u16(1).zeros(8).raw(&named, 16).pad_to(256).done();
    };
    std::string bytes = sound_file();
    put(events_at, in_chunk(block(absent) + short_events(1500)))(&bytes);
    EXPECT_EQ(check(bytes), Lines{"272 0 schema_missing"});
    put(events_at, in_chunk(block(bad)))(&bytes);
    EXPECT_EQ(check(bytes), Lines{"256 0 schema_bad"});
}

// What a cut leaves is told by its offset, and nothing but the blocks that were cut.
TEST_F(VrnCheck, FindsEveryCut) {
    const std::string whole = sound_file();
    for (std::size_t size = 256; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const Lines faults = check(whole.substr(0, size));
        ASSERT_FALSE(faults.empty());
        EXPECT_EQ(faults.back(),
                  std::to_string(size) + " " + std::to_string(file_size - size) + " header_size");
    }
}

// Here the header tells of the cut file: what is cut within a block shows by itself.
TEST_F(VrnCheck, FindsCutBlocksWithoutTheHeadersHelp) {
    struct Span {
        std::size_t begin, end;
    };
    const std::size_t second_page_at = pages_at + gzip_page().size();
    const Span blocks[] = {{events_at, short_events_at},
                           {short_events_at, short_events_at + 24},
                           {counters_at, counters_at + 56},
                           {pages_at, second_page_at},
                           {second_page_at, second_page_at + snappy_page().size()},
                           {metrics_at, metrics_at + test::sample_stream().build().size()},
                           {last_at, file_size}};
    for (std::size_t size = 256; size < file_size; ++size) {
        SCOPED_TRACE(size);
        std::string bytes = sound_file().substr(0, size);
        set(8, std::uint64_t{size})(&bytes);
        // Up to 4 bytes at the end of a run of events are no block to its walk.
        const bool is_cut = std::ranges::any_of(blocks, [&](const Span &block) {
            if (block.begin == events_at && size == block.begin + 4) return false;
            const std::size_t slack = block.begin == short_events_at ? 4 : 0;
            return size > block.begin + slack && size < block.end;
        });
        EXPECT_EQ(!check(bytes).empty(), is_cut);
    }
}

TEST_F(VrnCheck, AFlippedBitLeavesTheRestToBeRead) {
    const std::string whole = sound_file();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string bytes = whole;
        bytes[i] = static_cast<char>(bytes[i] ^ (1 << (i % 8)));
        check(bytes);
        const bool is_of_magic_version_or_grid = i < 8 || (i >= 112 && i < 116);
        EXPECT_TRUE(is_of_magic_version_or_grid || totals_.bytes == file_size) << i;
    }
}

TEST(VrnCheckText, HostileNamesAndBigNumbersStayOneExactLine) {
    const FileFault fault = {.offset = 18446744073709551615U,
                             .in_page = 7,
                             .lost = 9007199254740993,
                             .kind = "rows_cut",
                             .reason = "a \"b\"\n"};
    const std::string path = "a\n\"\\\xff\xc3\xa9/b";
    EXPECT_EQ(fault_line(Form::json, path, fault),
              "{\"file\":\"a\\u000a\\\"\\\\\xEF\xBF\xBD\xc3\xa9/b\",\"offset\":"
              "18446744073709551615,\"in_page\":7,\"lost\":9007199254740993,\"kind\":\"rows_cut\","
              "\"reason\":\"a \\\"b\\\"\\u000a\"}\n");
    EXPECT_EQ(fault_line(Form::text, path, fault),
              "a\\x0a\"\\\\xff\xc3\xa9/b: offset 18446744073709551615, byte 7 of its page, lost "
              "9007199254740993: rows_cut: a \"b\"\\x0a\n");
}

}  // namespace
}  // namespace vrn::check
