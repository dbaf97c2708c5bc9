// The data writer and the schema writer while memory runs out.
#include <gmock/gmock.h>

#include <filesystem>
#include <functional>

#include "data/text/json_value.h"
#include "data/writer/data_writer.h"
#include "data/writer/schema_writer.h"
#include "support/data_tree.h"
#include "support/failing_allocation.h"
#include "support/test.h"
#include "support/test_page.h"

namespace vrn::test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t start = 1'794'712'886'000'000;
const vrn_client_id_t client{.host_name = "collector of this test", .port = 0};

// A page that check_data_tree() knows by its time. Its names are too long to be held in place.
TestPage page_of(std::uint64_t time, const char *source) {
    TestPage page(page_block_size, page_block_size);
    page.names(source, "a tag of some length").times(time, time).data(page_data(time));
    return page;
}

vrn_data_writer_ptr make_writer(const std::string &dir) {
    vrn_data_writer_ptr writer(vrn_data_writer_create(&client));
    const bool is_set = writer && vrn_data_writer_set_data_dir(writer.get(), dir.c_str()) &&
                        vrn_data_writer_set_counters_path_template(
                            writer.get(), "{{source}}/{{year}}/{{tag}}{{id}}") &&
                        vrn_data_writer_set_data_size_limit(writer.get(), 1 << 30) &&
                        vrn_data_writer_set_write_nodeinfo(writer.get(), true);
    return is_set ? std::move(writer) : nullptr;
}

bool is_stored(vrn_data_writer_t *writer, const TestPage &page) {
    const std::uint64_t lost = vrn_data_writer_get_lost_pages(writer);
    return vrn_data_writer_write_page(writer, page.get(), nullptr) &&
           vrn_data_writer_get_lost_pages(writer) == lost;
}

class WriterShortage : public testing::Test {
  protected:
    void empty_folder() {
        fs::remove_all(dir_.file("data"));
        fs::create_directory(dir_.file("data"));
    }
    // Number of the data files, which are whole and hold the pages of these times.
    std::string count_files_that_hold(const std::vector<std::uint64_t> &times) {
        for (const std::string &path : data_files_of(data_))
            if (path.ends_with("nodeinfo.json")) fs::remove(path);
        EXPECT_EQ(check_data_tree(data_, times), "");
        return std::to_string(data_files_of(data_).size());
    }

    const TempDir dir_;
    const std::string data_ = dir_.file("data");
};

TEST_F(WriterShortage, LosesNoPageThatItDidNotTell) {
    expect_all_or_nothing([&] {
        empty_folder();
        const TestPage page = page_of(start, "the only node");
        start_shortage();
        vrn_data_writer_ptr writer = make_writer(data_);
        const bool is_written = writer && is_stored(writer.get(), page);
        writer.reset();
        end_shortage();
        return is_written ? count_files_that_hold({start}) : "";
    });
}

TEST_F(WriterShortage, LosesOnlyThePageThatItTold) {
    // A new stream, one that goes on, one whose file ends.
    const std::pair<const char *, std::uint64_t> cases[] = {
        {"another node", start + 1},
        {"the first node", start + 1},
        {"the first node", start + 1'800'000'001}};
    for (const auto &[source, time] : cases) {
        SCOPED_TRACE(std::string(source) + " " + std::to_string(time));
        std::string expected;
        expect_all_or_nothing([&] {
            empty_folder();
            vrn_data_writer_ptr writer = make_writer(data_);
            EXPECT_TRUE(is_stored(writer.get(), page_of(start, "the first node")));
            const TestPage page = page_of(time, source);
            start_shortage();
            const bool is_written = is_stored(writer.get(), page);
            end_shortage();
            // Not at the same time: pages of one first time share a file, also one that failed.
            const std::uint64_t next = is_written ? time : time + 1;
            EXPECT_TRUE(is_written || is_stored(writer.get(), page_of(next, source)));
            writer.reset();
            const std::string count = count_files_that_hold({start, next});
            if (expected.empty()) expected = count;
            EXPECT_EQ(count, expected);
            return is_written ? count : "";
        });
    }
}

TEST_F(WriterShortage, TakesAChangeThatFailedOnceMore) {
    const std::string text(100, 't');
    const struct {
        bool (*set)(vrn_data_writer_t *writer, const char *text);
        std::string vrn_data_file_t::*kept;
    } cases[] = {
        {vrn_data_writer_set_data_dir, &vrn_data_file_t::root_dir},
        {vrn_data_writer_set_counters_path_template, &vrn_data_file_t::path_template},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(&test - cases);
        expect_all_or_nothing([&] {
            empty_folder();
            vrn_data_writer_ptr writer = make_writer(data_);
            for (const char *source : {"the first node", "the second node"})
                EXPECT_TRUE(is_stored(writer.get(), page_of(start, source)));
            start_shortage();
            const bool is_done = test.set(writer.get(), text.c_str());
            end_shortage();
            EXPECT_TRUE(is_done || test.set(writer.get(), text.c_str()));
            for (const auto &[key, file] : writer->files) EXPECT_EQ(file.*test.kept, text);
            return std::string(is_done ? "done" : "");
        });
    }
}

TEST_F(WriterShortage, StoresSchemasWholeOrTellsIt) {
    // A type system of a counters schema and an event schema.
    const vrn_json_value_ptr document(json_parse_string(R"({"version":"1.5",
        "counters_schema":{"version":"1.5","counter_groups":[{"name":"a group of some length"}]},
        "schemas":[{"provider_version":"","provider_name":"a provider of some length"}]})"));
    expect_all_or_nothing([&] {
        empty_folder();
        bool is_done = false;
        start_shortage();
        {
            const vrn_schema_writer_ptr writer(vrn_schema_writer_create());
            is_done = writer && vrn_schema_writer_set_data_dir(writer.get(), data_.c_str()) &&
                      vrn_schema_writer_on_schema(writer.get(), document.get()) &&
                      writer->is_stored();
        }
        end_shortage();
        std::string files;
        for (const std::string &path : data_files_of(data_)) {
            EXPECT_THAT(path, testing::EndsWith(".json"));
            EXPECT_NE(vrn_json_value_ptr(json_parse_file(path.c_str())), nullptr) << path;
            files += path.substr(data_.size()) + "\n";
        }
        return is_done ? files : "";
    });
}

}  // namespace
}  // namespace vrn::test
