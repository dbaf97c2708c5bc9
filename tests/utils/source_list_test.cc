#include "utils/source_list.h"

#include <unistd.h>

#include <cstdio>

#include "support/test.h"

namespace vrn::test {
namespace {

// The names of a list, or "none" for null; every tag is empty.
Lines names_of(const vrn_source_list_t *list) {
    if (!list) return {"none"};
    Lines names;
    for (int i = 0; i < list->count; ++i)
        names.push_back(std::string(list->items[i]->source) + list->items[i]->tag);
    return names;
}

TEST(SourceList, DefaultIsTheOneSourceOfThisHost) {
    const ScopedEnv variable("VRN_SOURCE_ID", "node1");
    const vrn_source_list_ptr list(vrn_source_list_create_default("_tag"));
    EXPECT_EQ(names_of(list.get()), Lines{"node1_tag"});
    CapturedLog log(7);
    vrn_source_list_print(list.get(), "sources");
    EXPECT_EQ(log.take(), Lines{"7 sources[0] = node1"});
}

TEST(SourceSpec, RangesNameNumberedSources) {
    const std::string long_prefix(70, 'p');
    const std::pair<std::string, Lines> cases[] = {
        {"3", {"h_1", "h_2", "h_3"}},
        {"0x10-021", {"h_16", "h_17"}},
        {"2147483646-2147483647", {"h_2147483646", "h_2147483647"}},
        {"node[7-9]", {"node_7", "node_8", "node_9"}},
        {"[1-2]", {"_1", "_2"}},
        {long_prefix + "[1-1]", {long_prefix.substr(0, 63)}},
    };
    const ScopedEnv variable("VRN_SOURCE_ID", "h");
    CapturedLog log;
    for (const auto &[text, names] : cases) {
        const vrn_source_list_ptr list(vrn_source_list_from_spec(text.c_str()));
        EXPECT_EQ(names_of(list.get()), names);
    }
    EXPECT_EQ(log.take(), Lines{});
}

TEST(SourceSpec, RefusesOtherTexts) {
    const ScopedEnv variable("VRN_SOURCE_ID", "h");
    CapturedLog log;
    for (const char *text :
         {"5-2", "-3", "3-", "0", "abc", "", "-", "-5", "1-2-3", "3 ", "2147483648", "a-b[1-3]",
          "node[1-3", "node1-3]", "node[3]", "node[-1-3]", "node[1-]", "node]1-3[", "node[]1-3"}) {
        EXPECT_EQ(vrn_source_list_from_spec(text), nullptr);
        EXPECT_EQ(log.take(), Lines{std::string("3 [source] Invalid source format: ") + text});
    }
    EXPECT_EQ(vrn_source_list_from_spec("1-2147483647"), nullptr);
    EXPECT_EQ(log.take(), Lines{"3 [source] More than 65534 sources specified"});
}

// The sources that `content` names when it comes from a pipe.
Lines names_from_pipe(const std::string &content) {
    int ends[2];
    if (pipe(ends) != 0) return {"no pipe"};
    const bool is_written = write(ends[1], content.data(), content.size()) >= 0;
    close(ends[1]);
    const std::string path = "/dev/fd/" + std::to_string(ends[0]);
    const vrn_source_list_ptr list(is_written ? vrn_source_list_from_spec(path.c_str()) : nullptr);
    close(ends[0]);
    return names_of(list.get());
}

TEST(SourceSpec, FilesAndPipesNameSourcesByTheirKind) {
    const std::string long_name(70, 'n');
    const std::string cut = long_name.substr(0, 63);
    const std::pair<std::string, Lines> cases[] = {
        {"node1\nnode2\r\n\n\r\n node 3\nnode1", {"node1", "node2", " node 3", "node1"}},
        {long_name + "\n", {cut}},
        {"", {}},
        {"a (b)\n", {"a (b)"}},
        {"# nodes (head)\nH-0002c9 (host1 HCA-1) 4x\n\nH-1 no name\nH-2 )back(\nH-3 (open\nH-4 (a)",
         {"head", "host1 HCA-1", "a"}},
        {"S-1 (" + long_name + ")", {cut}},
        {std::string(1023, 'x') + "(\nH-)", {}},  // a line is read in pieces
    };
    const TempDir dir;
    CapturedLog log;
    for (const auto &[content, names] : cases) {
        SCOPED_TRACE(content);
        const std::string path = dir.write("spec", content);
        const vrn_source_list_ptr list(vrn_source_list_from_spec(path.c_str()));
        EXPECT_EQ(names_of(list.get()), names);
        EXPECT_EQ(names_from_pipe(content), names);
    }
    EXPECT_EQ(log.take(), Lines{});
}

TEST(SourceSpec, RefusesWhatHasNoEnd) {
    const TempDir dir;
    CapturedLog log;
    for (const std::string &path : {dir.path(), std::string("/dev/zero")}) {
        EXPECT_EQ(vrn_source_list_from_spec(path.c_str()), nullptr);
        EXPECT_EQ(log.take(), Lines{"3 [source] Failed to open text file: " + path});
    }
    std::FILE *endless = popen("yes ''", "r");
    ASSERT_TRUE(endless);
    const std::string path = "/dev/fd/" + std::to_string(fileno(endless));
    EXPECT_EQ(vrn_source_list_from_spec(path.c_str()), nullptr);
    EXPECT_EQ(log.take(), Lines{"3 [source] More than 10485760 bytes come from " + path});
    pclose(endless);
}

TEST(SourceSpec, FileOfTooManyNamesIsRefused) {
    std::string content;
    for (int i = 0; i < VRN_SOURCE_LIST_MAX; ++i) content += "n\n";
    const TempDir dir;
    const auto load = [&](const std::string &text) {
        return vrn_source_list_ptr(vrn_source_list_from_spec(dir.write("spec", text).c_str()));
    };
    CapturedLog log;
    const vrn_source_list_ptr list = load(content);
    ASSERT_TRUE(list);
    EXPECT_EQ(list->count, 65534);
    EXPECT_FALSE(vrn_source_list_add(list.get(), nullptr));
    EXPECT_EQ(vrn_source_list_index_of(list.get(), list->items[65533]), 65533);
    const vrn_source_ptr extra(vrn_source_create("n", ""));
    EXPECT_EQ(vrn_source_list_index_of(list.get(), extra.get()), 65535);  // equal, but another
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_EQ(load(content + "n"), nullptr);
    EXPECT_EQ(log.take(), Lines{"3 [source] More than 65534 sources specified"});
}

}  // namespace
}  // namespace vrn::test
