#include "reader/file_entry.h"

#include "support/test.h"

namespace vrn::test {
namespace {

struct File {
    const char *name;
    std::string source_id;
    std::string source_tag;
    std::uint64_t first_timestamp;
};

const Lines default_line = {"6 Sort order not specified. Using default."};

// Files of a bare header, and the options that list them.
class SortedFileEntries : public testing::Test {
  protected:
    ~SortedFileEntries() override {
        clear();
        vrn_string_array_free(options_.data_files);
    }
    void SetUp() override { options_.data_files = vrn_string_array_create(); }

    std::string path(const char *name) const { return dir_.file(name); }
    void list(const char *name) {
        ASSERT_TRUE(vrn_string_array_append(&options_.data_files, path(name).c_str()));
    }
    void add(const File &file) {
        dir_.write(file.name, ByteBuilder()
                                  .zeros(16)
                                  .field(file.source_id, 64)
                                  .field(file.source_tag, 16)
                                  .u64(file.first_timestamp)
                                  .pad_to(256)
                                  .done());
        list(file.name);
    }
    // Entries in their order; they go with the test.
    vrn_file_entry_t *load(std::string order) {
        options_.sort_order = order.data();
        clear();
        entries_ = vrn_file_entries_load(&options_);
        return entries_;
    }
    // Last letters of the paths.
    std::string load_names(const char *order) {
        if (!load(order)) return "none";
        std::string names;
        for (std::size_t i = 0; i < options_.data_files->count; ++i)
            names += std::string(entries_[i].path).back();
        return names;
    }
    void clear() { vrn_file_entries_free(entries_, options_.data_files->count); }

    TempDir dir_;
    vrn_reader_options_t options_{};
    vrn_file_entry_t *entries_ = nullptr;
};

TEST_F(SortedFileEntries, FollowTheOrder) {
    add({"a", "node2", "tag1", 300});
    add({"b", "node1", "tag2", 100});
    add({"c", "node2", "tag1", 100});
    add({"d", "node1", "tag1", 0});
    add({"e", "", "", 18446744073709551615U});
    const std::string unknown = "3 [sort] Unknown sort key: 'foo'";
    const auto invalid = [](const std::string &text) {
        return "4 Invalid sort order string '" + text + "'. Using default.";
    };
    const struct {
        const char *order;
        const char *names;
        Lines lines;
    } cases[] = {
        {"", "dbcae", default_line},
        {"first_timestamp,source_id,source_tag,foo", "dbcae", {}},
        {"source_id,source_tag,first_timestamp", "edbca", {}},
        {"source_tag,first_timestamp,source_id", "edcab", {}},
        {"source_id,foo", "dbcae", {unknown, invalid("source_id,foo")}},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.order);
        CapturedLog log;
        EXPECT_EQ(load_names(test.order), test.names);
        EXPECT_EQ(log.take(), test.lines);
    }
}

TEST_F(SortedFileEntries, CutTextsThatFillTheirField) {
    add({"a", std::string(63, 's') + "2", std::string(15, 't') + "2", 2});
    add({"b", std::string(63, 's') + "1", std::string(15, 't') + "1", 3});
    ASSERT_EQ(load_names("source_id,source_tag,first_timestamp"), "ab");
    EXPECT_EQ(entries_[1].source_id, std::string(63, 's'));
    EXPECT_EQ(entries_[1].source_tag, std::string(15, 't'));
}

TEST_F(SortedFileEntries, AreLoggedBeforeAndAfter) {
    add({"a", "s", "t", 2});
    add({"b", "s", "", 1});
    const std::string a = path("a") + " \xE2\x86\x92 source_id = s | source_tag = t | ts = 2";
    const std::string b = path("b") + " \xE2\x86\x92 source_id = s | source_tag =  | ts = 1";
    CapturedLog log(7);
    load("first_timestamp");
    EXPECT_EQ(log.take(), (Lines{"7 before sort: " + a, "7 before sort: " + b,
                                 "7 after sort:  " + b, "7 after sort:  " + a}));
}

}  // namespace
}  // namespace vrn::test
