#include "data/influx_serializer.h"

#include <gtest/gtest.h>

#include "data/influx_fixtures.h"
#include "support/captured_log.h"

namespace vrn::test {
namespace {

using Lines = std::vector<std::string>;

// Type 0 of the first schema is one byte, type 1 nothing at all, type 2 a number and a text; the
// counters row is two numbers.
class InfluxPage : public ::testing::Test {
  protected:
    InfluxPage() {
        vrn_schema_t *schema = vrn_type_system_add_new_schema(system_.get(), "p", 1, nullptr);
        add_type(schema, "byte", {{"uint8_t", "x"}});
        add_type(schema, "nothing", {{"uint8_t", "none", 0}});
        add_type(schema, "pair", {{"uint16_t", "n"}, {"char", "t", 2}});
        add_group(system_->counters_schema,
                  make_group("g", VRN_GRANULARITY_NODE, 1, {{"a"}, {"b"}}));
    }

    Lines lines_of(const TestPage &page) {
        const std::string text = page_bytes(page);
        const std::vector<std::uint8_t> exact(text.begin(), text.end());
        return data::InfluxSerializer().serialize_bytes({{"host", "h"}}, exact, system_.get());
    }

    vrn_type_system_ptr system_{vrn_type_system_create()};
};

constexpr char x1[] = "byte,host=h x=1i 1700000000123";
constexpr char x2[] = "byte,host=h x=2i 1700000000123";
constexpr char row[] = "node_counters,host=h,node_guid=,system_image_guid= a=3i,b=4i 1700000000123";

std::string schemas_block(std::uint16_t size) {
    return ByteBuilder().text("VRNS").u16(size).u16(0).zeros(8).done();
}

TEST_F(InfluxPage, WalksTheBlocksOfTheDataArea) {
    const std::string one = event_block(0, 0, 1, "\x01");
    const std::string two = event_block(0, 0, 2, "\x01\x02");
    const std::string counters = counters_block({3, 4});
    const struct {
        const char *name;
        std::string area;
        Lines lines;
    } cases[] = {
        {"no data", "", {}},
        {"events", two, {x1, x2}},
        {"inner texts",
         event_block(0, 2, 1, "\x05\x01zz"),
         {"pair,host=h n=261i,t=\"zz\" 1700000000123"}},
        {"counters", counters + counters, {row, row}},
        {"mixed", one + counters + one, {x1, row, x1}},
        {"padding between blocks",
         one + std::string(5, '\0') + counters + std::string(3, '\0'),
         {x1, row}},
        {"other blocks are padding", "VRNB" + one, {x1}},
        {"schemas block", schemas_block(20) + "VRND" + one, {x1}},
        {"an empty event block", event_block(0, 0, 0, "") + one, {x1}},
        {"low 8 bits of the type index", event_block(0, 0x100, 1, "\x01"), {x1}},
        // Nothing tells where the block behind these begins.
        {"unknown schema ends the walk", one + event_block(1, 0, 1, "\x01") + one, {x1}},
        {"unknown type ends the walk", one + event_block(0, 3, 1, "\x01") + one, {x1}},
        {"schemas block of no bytes ends the walk", one + schemas_block(0) + one, {x1}},
        {"rows beyond the data", event_block(0, 0, 200, "\x01\x02"), {x1, x2}},
        {"a cut row",
         event_block(0, 2, 2, "\x05\x01zz\x01\x01z"),
         {"pair,host=h n=261i,t=\"zz\" 1700000000123"}},
        {"rows of no bytes",
         event_block(0, 1, 2, ""),
         {"nothing,host=h  1700000000123", "nothing,host=h  1700000000123"}},
        {"a cut row of counters",
         counters_block({3}),
         {"node_counters,host=h,node_guid=,system_image_guid= a=3i,b=0i 1700000000123"}},
        {"a cut time",
         one + "VRND",
         {x1, "node_counters,host=h,node_guid=,system_image_guid= a=0i,b=0i 0"}},
        {"a cut event header", one + "VRNE", {x1}},
        {"a cut magic", one + "VRN", {x1}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        EXPECT_EQ(lines_of({.area = c.area}), c.lines);
        EXPECT_EQ(log.take(), Lines{});
    }
}

TEST_F(InfluxPage, BelievesNoSizeOfTheHeader) {
    const std::string area = event_block(0, 0, 2, "\x01\x02");
    constexpr std::uint64_t header = VRN_DATA_PAGE_HEADER_SIZE;
    constexpr std::uint64_t huge = 0xFFFFFFFFFFFFFFFF;
    const struct {
        const char *name;
        std::uint64_t page_size;
        std::uint64_t filled_bytes;
        Lines lines;
    } cases[] = {
        {"true sizes", header + 18, header + 18, {x1, x2}},
        {"huge sizes", huge, huge, {x1, x2}},
        {"small page", header, huge, {}},
        {"page of nothing", 1, huge, {}},
        {"filled with nothing", huge, 1, {}},
        {"filled with the header", header + 18, header, {}},
        {"filled up to the second event", header + 18, header + 17, {x1}},
        {"filled within the block's header", header + 18, header + 1, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(
            lines_of({.area = area, .page_size = c.page_size, .filled_bytes = c.filled_bytes}),
            c.lines);
    }
}

TEST_F(InfluxPage, StaysWithinEveryShorterPage) {
    const std::string whole =
        page_bytes({.area = event_block(0, 2, 1, "\x01\x02zz") + counters_block({3, 4}) +
                            schemas_block(16) + event_block(0, 0, 1, "\x01"),
                    .hcas = hca_bytes("nic5_0", "1234")});
    std::size_t most = 0;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        SCOPED_TRACE(size);
        const std::vector<std::uint8_t> exact(whole.begin(), whole.begin() + size);
        const Lines lines = data::InfluxSerializer().serialize_bytes({}, exact, system_.get());
        EXPECT_GE(lines.size(), most);  // more bytes never give fewer lines
        most = lines.size();
    }
    EXPECT_EQ(most, 3U);
}

TEST_F(InfluxPage, GivesNoLineWithoutACountersSchema) {
    vrn_counters_schema_destroy(std::exchange(system_->counters_schema, nullptr));
    EXPECT_EQ(lines_of({.area = counters_block({}) + event_block(0, 0, 1, "\x01")}), Lines{x1});
    system_->counters_schema = vrn_counters_schema_create();
    EXPECT_EQ(lines_of({.area = counters_block({}) + event_block(0, 0, 1, "\x01")}), Lines{x1});
}

TEST_F(InfluxPage, SerializesThroughTheInterface) {
    const std::string bytes = page_bytes({.area = event_block(0, 0, 1, "\x01")});
    const CPtr<vrn_data_page_t, std::free> page(
        static_cast<vrn_data_page_t *>(std::malloc(bytes.size())));
    bytes.copy(reinterpret_cast<char *>(page.get()), bytes.size());
    const data::InfluxSerializer influx;
    const data::Serializer &serializer = influx;
    EXPECT_EQ(serializer.serialize({{"host", "h"}}, page.get(), system_.get()), Lines{x1});
}

// A text counter without a length takes all bytes up to a zero, so that a few counters of many
// blocks ask for far more text than the page has bytes.
TEST_F(InfluxPage, RefusesPagesWhoseLinesTakeTooMuchMemory) {
    const std::vector<TestCounter> texts(1000, {"t", VRN_DATA_STRING});
    add_group(system_->counters_schema, make_group("t", VRN_GRANULARITY_NODE, 1, texts));
    system_->counters_schema->size = 0;
    std::string area;
    for (int i = 0; i < 1000; ++i) area += "VRND" + std::string(12, 'x');
    CapturedLog log;
    std::size_t text_size = 0;
    for (const std::string &line : lines_of({.area = area})) text_size += line.size();
    EXPECT_GT(text_size, 0U);
    EXPECT_LE(text_size, (64U << 20) + 4096 * (VRN_DATA_PAGE_HEADER_SIZE + area.size()));
    EXPECT_EQ(log.take(), Lines{"3 Lines of a data page of 16720 bytes take too much memory"});
}

}  // namespace
}  // namespace vrn::test
