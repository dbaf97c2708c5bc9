#include "reader/page_writer.h"

#include "data/writer/data_writer.h"
#include "support/page_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

TEST(PageWriter, KeepsAPageOfTheSameSize) {
    vrn_data_page_t *first = vrn_reader_page_prepare(nullptr, 100);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->page_size, 820);
    EXPECT_EQ(first->block_size, 100);
    EXPECT_STREQ(first->memory.name, "file-reader");
    first->first_ts = 5;
    first->last_ts = 6;
    first->filled_bytes = 820;
    vrn_data_page_t *same = vrn_reader_page_prepare(first, 100);
    EXPECT_EQ(same, first);
    EXPECT_EQ(same->filled_bytes, 720);
    EXPECT_EQ(same->first_ts, 5);  // until the next payload
    EXPECT_EQ(same->last_ts, 0);
    const vrn_data_page_ptr other(vrn_reader_page_prepare(same, 101));
    ASSERT_TRUE(other);
    EXPECT_EQ(other->page_size, 821);
}

TEST(PageWriter, RefusesAPayloadThatDoesNotFit) {
    const vrn_data_page_ptr page(vrn_reader_page_prepare(nullptr, 3));
    CapturedLog log;
    EXPECT_FALSE(vrn_reader_page_write(nullptr, "four", 4, header_bytes({}).data(), page.get()));
    EXPECT_EQ(log.take(), Lines{"3 Invalid allocated data page size 4 is smaller than available "
                                "space 3"});
    EXPECT_EQ(page->filled_bytes, 720);
}

TEST(PageWriter, HandsPagesOnUnderTheirNamesAndTimes) {
    const TempDir dir;
    const vrn_client_id_t client = {"host1", 0};
    vrn_data_writer_ptr writer(vrn_data_writer_create(&client));
    EXPECT_TRUE(vrn_data_writer_set_data_dir(writer.get(), dir.path().c_str()));
    EXPECT_TRUE(
        vrn_data_writer_set_data_path_template(writer.get(), "{{source}}/{{tag}}{{id}}.bin"));
    const std::string long_names = header_bytes({.header_size = 34,
                                                 .source_length = 6,
                                                 .source = "longer",
                                                 .tag_length = 4,
                                                 .tag = "tags"});
    vrn_data_page_ptr page(vrn_reader_page_prepare(nullptr, 4));
    EXPECT_TRUE(vrn_reader_page_write(writer.get(), "VRNP", 4, long_names.data(), page.get()));
    page.reset(vrn_reader_page_prepare(page.release(), 4));
    EXPECT_TRUE(
        vrn_reader_page_write(writer.get(), "AAAX", 4, header_bytes({}).data(), page.get()));
    EXPECT_EQ(page->first_ts, 1000);
    EXPECT_EQ(page->last_ts, 2000);
    // A reused page keeps what a longer earlier name left after a shorter one.
    EXPECT_STREQ(page->source.source, "abcger");
    EXPECT_STREQ(page->source.tag, "xags");
    // Nothing in it: not stored.
    page.reset(vrn_reader_page_prepare(page.release(), 0));
    EXPECT_TRUE(
        vrn_reader_page_write(writer.get(), nullptr, 0, header_bytes({}).data(), page.get()));
    writer.reset();
    EXPECT_EQ(read_file(dir.file("longer/tags_1000.bin")).substr(256), "VRNP");
    EXPECT_EQ(read_file(dir.file("abcger/xags_1000.bin")).substr(256), "AAAX");
}

}  // namespace
}  // namespace vrn::test
