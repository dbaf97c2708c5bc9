#include "data/data_page.h"

#include "data/time.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr vrn_page_memory_t regular = {VRN_PAGE_MEMORY_REGULAR, 7, "a_page"};

TEST(DataPage, IsAllocatedEmpty) {
    // Sizes below the header wrap around; it is whole all the same.
    // clang-format off
    const struct { std::uint32_t block_size; std::uint64_t size; std::uint32_t expected; } cases[] = {
        {1000, 1720, 1000}, {0, 1720, 1000}, {16, 100, 16}, {0, 0, 0xFFFFFD30}};
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.size);
        CapturedLog log;
        const vrn_data_page_ptr page(vrn_data_page_allocate(c.block_size, c.size, regular));
        ASSERT_TRUE(page);
        EXPECT_EQ(log.take(), Lines{});
        vrn_data_page_t expected{};
        expected.version = 0x00031801;
        expected.page_size = c.size;
        expected.filled_bytes = 720;
        expected.block_size = c.expected;
        expected.memory = regular;
        EXPECT_EQ(std::memcmp(page.get(), &expected, sizeof expected), 0);
    }
}

TEST(DataPage, RefusesSizesAndKindsOfMemory) {
    CapturedLog log;
    EXPECT_EQ(vrn_data_page_allocate(1000, 1719, regular), nullptr);
    vrn_page_memory_t unknown = regular;
    unknown.type = 2;
    EXPECT_EQ(vrn_data_page_allocate(0, 1720, unknown), nullptr);
    EXPECT_EQ(log.take(), (Lines{"3 [data_page] Failed to allocate data page of size 1719 which is "
                                 "less then header size 720 + block size 1000",
                                 "3 [data_page] Data page allocation failed: Invalid argument"}));
}

TEST(DataPage, FreesOnlyWhatIsItsOwn) {
    vrn_data_page_t page{};
    CapturedLog log;
    vrn_data_page_free(nullptr);
    page.memory.type = 2;
    vrn_data_page_free(&page);
    EXPECT_EQ(log.take(), Lines{});
    page.memory.type = VRN_PAGE_MEMORY_SHARED;
    vrn_data_page_free(&page);
    EXPECT_EQ(log.take(), Lines{"3 Problem freeing shared-memory page"});
}

TEST(DataPage, GivesItsFreeSpace) {
    const vrn_data_page_ptr page(vrn_data_page_allocate(0, 1720, regular));
    auto *start = reinterpret_cast<std::uint8_t *>(page.get());
    // clang-format off
    const struct { std::uint64_t filled_bytes; void *space; std::uint64_t size; } cases[] = {
        {720, start + 720, 1000}, {1719, start + 1719, 1}, {1720, nullptr, 0}, {1721, nullptr, 0}};
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.filled_bytes);
        page->filled_bytes = c.filled_bytes;
        void *space = start;
        std::uint64_t size = 99;
        vrn_data_page_get_free_space(page.get(), &space, &size);
        EXPECT_EQ(space, c.space);
        EXPECT_EQ(size, c.size);
    }
}

TEST(DataPage, CountsBytesAlsoBeyondItsEnd) {
    const vrn_data_page_ptr page(vrn_data_page_allocate(0, 730, regular));
    CapturedLog log;
    vrn_data_page_consume_free_space(page.get(), 11);
    EXPECT_EQ(log.take(), Lines{});  // only a page that is over before is told
    vrn_data_page_consume_free_space(page.get(), 5);
    EXPECT_EQ(log.take(), Lines{"3 vrn_data_page_consume_free_space: page->filled_bytes > "
                                "page->page_size  731 730 "});
    EXPECT_EQ(page->filled_bytes, 736);
}

TEST(DataPage, TimesFollowTheProcessWideOffset) {
    constexpr std::uint64_t hour = 3'600'000'000;
    const vrn_data_page_ptr page(vrn_data_page_allocate(0, 720, regular));
    CapturedLog log;
    const std::uint64_t now = vrn_time_now();
    vrn_set_time_offset(hour);
    EXPECT_GE(vrn_data_page_get_first_ts(page.get()), now + hour);
    EXPECT_EQ(log.take(), Lines{"3 [data_page] going to return local timestamp rather than "
                                "(correct) remote timestamp"});
    EXPECT_EQ(page->first_ts, 0);
    vrn_data_page_set_first_ts(nullptr);
    vrn_data_page_set_first_ts(page.get());
    vrn_data_page_update_last_ts(page.get());
    vrn_set_time_offset(0);
    EXPECT_GE(vrn_data_page_get_first_ts(page.get()), now + hour);
    EXPECT_GE(vrn_data_page_get_last_ts(page.get()), page->first_ts);
    EXPECT_EQ(log.take(), Lines{});
}

TEST(DataPage, BlobStandsBehindTheHeader) {
    const vrn_source_t source = {"node1", "blobs"};
    for (const std::string data : {"", "five!"}) {
        SCOPED_TRACE(data);
        const vrn_data_page_ptr page(vrn_blob_data_page_create(&source, data.data(), data.size()));
        ASSERT_TRUE(page);
        EXPECT_EQ(page->page_size, data.size() + 740);
        EXPECT_EQ(page->block_size, data.size() + 20);
        EXPECT_EQ(page->filled_bytes, 720);
        EXPECT_TRUE(vrn_data_page_is_blob(page.get()));
        EXPECT_EQ(std::memcmp(&page->source, &source, sizeof source), 0);
        EXPECT_STREQ(page->memory.name, "blob_data_page");
        EXPECT_NE(page->first_ts, 0);
        EXPECT_EQ(page->last_ts, page->first_ts);
        const char *block = reinterpret_cast<const char *>(page.get() + 1);
        const ByteBuilder header = ByteBuilder().text("VRNB").u64(page->first_ts).u64(data.size());
        EXPECT_EQ(std::string(block, data.size() + 20), header.done() + data);
        page->filled_bytes = page->page_size - 19;
        EXPECT_FALSE(vrn_data_page_is_blob(page.get()));
        page->filled_bytes = 720;
        page->page_size = 739;
        EXPECT_FALSE(vrn_data_page_is_blob(page.get()));
    }
    // The size of such a page wraps around to less than the blob takes.
    for (const std::uint64_t size : {~std::uint64_t{0}, ~std::uint64_t{0} - 19})
        EXPECT_EQ(vrn_blob_data_page_create(&source, "", size), nullptr);
}

}  // namespace
}  // namespace vrn::test
