#include "data/serial/influx_serializer.h"

#include "data/serial/influx_fixtures.h"
#include "support/test.h"
#include "support/test_page.h"

namespace vrn::test {
namespace {

// Type 0 of the first schema is one byte, type 1 nothing at all, type 2 two bytes; the counters row
// is two numbers.
class InfluxPage : public ::testing::Test {
  protected:
    InfluxPage() {
        vrn_schema_t *schema = vrn_type_system_add_new_schema(system_.get(), "p", 1, nullptr);
        add_type(schema, "byte", {{"uint8_t", "x"}});
        add_type(schema, "nothing", {{"uint8_t", "none", 0}});
        add_type(schema, "pair", {{"uint16_t", "n"}});
        add_group(system_->counters_schema, VRN_GRANULARITY_NODE, 1, {"a", "b"});
    }

    Lines lines_of(const std::string &page) {
        return serializer_.serialize_bytes({{"host", "h"}}, exact_bytes(page), system_.get());
    }

    vrn_type_system_ptr system_{vrn_type_system_create()};
    data::InfluxSerializer serializer_;
};

constexpr char x1[] = "byte,host=h x=1i 1700000000123";
constexpr char x2[] = "byte,host=h x=2i 1700000000123";
constexpr char n1[] = "pair,host=h n=257i 1700000000123";
constexpr char none[] = "nothing,host=h  1700000000123";

std::string row(const char *fields, const char *time = "1700000000123") {
    return std::string("node_counters,host=h,node_guid=,system_image_guid= ") + fields + ' ' + time;
}

std::string schemas_block(std::uint16_t size) {
    return ByteBuilder().text("VRNS").u16(size).u16(0).zeros(8).done();
}

TEST_F(InfluxPage, WalksTheBlocksOfTheDataArea) {
    const std::string one = event_block(0, 0, 1, "\1");
    const std::string counters = counters_block({3, 4});
    const std::string ab = row("a=3i,b=4i");
    const struct {
        const char *name;
        std::string area;
        Lines lines;
    } cases[] = {
        {"no data", "", {}},
        {"events", event_block(0, 0, 2, "\1\2"), {x1, x2}},
        {"mixed", one + counters + one + counters, {x1, ab, x1, ab}},
        {"padding", one + std::string(5, '\0') + counters + std::string(3, '\0'), {x1, ab}},
        {"other blocks are padding", "VRNB" + one, {x1}},
        {"schemas block", schemas_block(20) + "VRND" + one, {x1}},
        {"an empty event block", event_block(0, 0, 0, "") + one, {x1}},
        {"low 8 bits of the type index", event_block(0, 0x100, 1, "\1"), {x1}},
        // Nothing tells where the block after these begins.
        {"unknown schema", one + event_block(1, 0, 1, "\1") + one, {x1}},
        {"unknown type", one + event_block(0, 3, 1, "\1") + one, {x1}},
        {"schemas block of no bytes", one + schemas_block(0) + one, {x1}},
        {"rows beyond the data", event_block(0, 0, 200, "\1\2"), {x1, x2}},
        {"a cut row", event_block(0, 2, 2, "\1\1\1"), {n1}},
        {"rows of no bytes", event_block(0, 1, 2, ""), {none, none}},
        {"a cut row of counters", counters_block({3}), {row("a=3i,b=0i")}},
        {"a cut time", one + "VRND", {x1, row("a=0i,b=0i", "0")}},
        {"a cut event header", one + "VRNE", {x1}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CapturedLog log;
        EXPECT_EQ(lines_of(page_bytes(c.area)), c.lines);
        EXPECT_EQ(log.take(), Lines{});
    }
}

TEST_F(InfluxPage, BelievesNoSizeOfTheHeader) {
    const std::string page = page_bytes(event_block(0, 0, 2, "\1\2"));
    constexpr std::uint64_t huge = 0xFFFFFFFFFFFFFFFF;
    const struct {
        std::uint64_t page_size;
        std::uint64_t filled_bytes;
        Lines lines;
    } cases[] = {
        {738, 738, {x1, x2}}, {huge, huge, {x1, x2}}, {720, huge, {}}, {1, huge, {}},
        {huge, 1, {}},        {738, 720, {}},         {738, 721, {}},  {738, 737, {x1}},
    };
    for (const auto &c : cases) {
        const std::string sizes = ByteBuilder().u64(c.page_size).u64(c.filled_bytes).done();
        EXPECT_EQ(lines_of(std::string(page).replace(8, 16, sizes)), c.lines)
            << c.page_size << ' ' << c.filled_bytes;
    }
}

TEST_F(InfluxPage, StaysWithinEveryShorterPage) {
    const std::string whole = page_bytes(event_block(0, 2, 1, "\1\1") + counters_block({3, 4}) +
                                             schemas_block(16) + event_block(0, 0, 1, "\1"),
                                         hca_bytes("nic5_0", "1234"));
    std::size_t most = 0;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const std::size_t count = lines_of(whole.substr(0, size)).size();
        EXPECT_GE(count, most) << size;  // more bytes never give fewer lines
        most = count;
    }
    EXPECT_EQ(most, 3U);
}

TEST_F(InfluxPage, SerializesThroughTheInterface) {
    // A row without a schema has no line.
    vrn_counters_schema_destroy(std::exchange(system_->counters_schema, nullptr));
    TestPage page;
    page.data(counters_block({}) + event_block(0, 0, 1, "\1"));
    const data::Serializer &serializer = serializer_;
    EXPECT_EQ(serializer.serialize({{"host", "h"}}, page.get(), system_.get()), Lines{x1});
}

// A text counter without a length takes all bytes up to a zero, so that a few counters of many
// blocks ask for far more text than the page has bytes.
TEST_F(InfluxPage, RefusesPagesWhoseLinesTakeTooMuchMemory) {
    auto *group = add_group(system_->counters_schema, VRN_GRANULARITY_NODE, 1,
                            std::vector<const char *>(1000, "t"));
    for (std::uint32_t i = 0; i < group->num_counters; ++i)
        group->counters[i]->data_type = VRN_DATA_STRING;
    system_->counters_schema->size = 0;
    std::string area;
    for (int i = 0; i < 1000; ++i) area += "VRND" + std::string(12, 'x');
    CapturedLog log;
    std::size_t text_size = 0;
    for (const std::string &line : lines_of(page_bytes(area))) text_size += line.size();
    EXPECT_GT(text_size, 0U);
    EXPECT_LE(text_size, (64U << 20) + 4096 * (VRN_DATA_PAGE_HEADER_SIZE + area.size()));
    EXPECT_EQ(log.take(), Lines{"3 Lines of a data page of 16720 bytes take too much memory"});
}

}  // namespace
}  // namespace vrn::test
