#include "counters/metadata.h"

#include <sys/stat.h>

#include "counters/metadata_enrich.h"
#include "data/text/json_value.h"
#include "support/test.h"

namespace vrn::test {
namespace {

// A metadata document around the text of `matches_and_labels`.
std::string document(const std::string &matches) {
    return R"({"metadata_content": {"counters": {"name_match_labels": [{"matches_and_labels": )" +
           matches + "}]}}}";
}

// "full/short key=value key=value" for each entry.
Lines texts_of(const vrn_metadata_t &metadata) {
    Lines texts;
    for (int i = 0; i < metadata.num_entries; ++i) {
        const vrn_metadata_entry_t &entry = metadata.entries[i];
        std::string text = std::string(entry.full_name) + "/" + entry.short_name;
        for (int k = 0; k < entry.num_labels; ++k)
            text += std::string(" ") + entry.labels[k].key + "=" + entry.labels[k].value;
        texts.push_back(text);
    }
    return texts;
}

TEST(Metadata, LoadsNamesAndLabels) {
    const std::pair<std::string, Lines> cases[] = {
        {document(R"([{"pattern_match": ["0012_port_rcv", "other"]}, {"pattern_match": ["12_"]},
                      {"pattern_match": ["port_0012_rcv"]}, {"pattern_match": ["12port"]},
                      {"pattern_match": ["12"]}, {"pattern_match": ["_12"]}])"),
         {"0012_port_rcv/port_rcv", "12_/", "port_0012_rcv/port_0012_rcv", "12port/12port", "12/12",
          "_12/_12"}},
        {document(R"([{"pattern_match": ["a"], "labels": {"z": "1", "b": 2, "a": null, "": ""}}])"),
         {"a/a z=1 b= a= ="}},
        // Missing and odd parts.
        {document(
             R"([{}, {"pattern_match": []}, {"pattern_match": [1, "a"]}, {"pattern_match": "a"},
                      {"pattern_match": ["a"], "labels": []},
                      {"pattern_match": ["b"], "labels": {}}, 7, null, "text", []])"),
         {"/", "/", "/", "/", "a/a", "b/b", "/", "/", "/", "/"}},
        {R"({"metadata_content": {"counters": {"name_match_labels": [
             {"matches_and_labels": [{"pattern_match": ["a"]}]},
             {"matches_and_labels": [{"pattern_match": ["b"]}]}]}}})",
         {"a/a"}},  // the first of name_match_labels only
    };
    for (const auto &[text, entries] : cases) {
        SCOPED_TRACE(text);
        const TempDir folder;
        const std::string path = folder.write("metadata_x.json", text);
        CapturedLog log(7);
        const vrn_metadata_ptr metadata(vrn_metadata_load(folder.path().c_str()));
        ASSERT_NE(metadata, nullptr);
        EXPECT_EQ(texts_of(*metadata), entries);
        EXPECT_EQ(log.take(), (Lines{"7 Loading metadata from " + path,
                                     "6 Loaded metadata with " + std::to_string(entries.size()) +
                                         " entries from schema dir"}));
    }
}

TEST(Metadata, IsNotFoundUnderOtherNames) {
    const TempDir folder;
    const std::string good = document(R"([{"pattern_match": ["a"]}])");
    for (const char *name : {"metadata_.json", "metadata_x.JSON", "Metadata_x.json",
                             "metadata_x.json.bak", "my_metadata_x.json", "metadata-x.json"})
        folder.write(name, good);
    CapturedLog log(7);
    for (const std::string &path : {folder.path(), folder.file("missing")}) {
        EXPECT_EQ(vrn_metadata_load(path.c_str()), nullptr);
        EXPECT_EQ(log.take(), Lines{"7 No metadata JSON found in " + path});
    }
    EXPECT_EQ(vrn_metadata_load(nullptr), nullptr);
    EXPECT_EQ(log.take(), Lines{});
}

TEST(Metadata, RefusesOtherDocumentsAndFiles) {
    const auto content = [](const std::string &labels) {
        return R"({"metadata_content": {"counters": {"name_match_labels": )" + labels + "}}}";
    };
    const auto refuses = [](const TempDir &folder, const Lines &log) {
        CapturedLog captured;
        EXPECT_EQ(vrn_metadata_load(folder.path().c_str()), nullptr);
        EXPECT_EQ(captured.take(), log);
    };
    const Lines no_json = {"3 Failed to parse metadata JSON"};
    const std::pair<std::string, Lines> cases[] = {
        {"[]", {}},
        {R"({"metadata_content": []})", {}},
        {content("{}"), {}},
        {content(R"(["a"])"), {}},
        {content("[{}]"), {}},
        {content(R"([{"matches_and_labels": {}}])"), {}},
        {content(R"([{"matches_and_labels": []}])"), {}},
        {content(R"([{}, {"matches_and_labels": [{"pattern_match": ["b"]}]}])"), {}},
        {"", no_json},
        {"{", no_json},
        {std::string("\xFF\xFE\0\1", 4), no_json},
        {std::string(100000, '['), no_json},
        {document("[") + "{}", no_json},
    };
    for (const auto &[text, log] : cases) {
        SCOPED_TRACE(text.substr(0, 100));
        const TempDir folder;
        folder.write("metadata_x.json", text);
        refuses(folder, log);
    }
    const TempDir of_folder, of_pipe;
    ASSERT_EQ(mkdir(of_folder.file("metadata_x.json").c_str(), 0777), 0);
    ASSERT_EQ(mkfifo(of_pipe.file("metadata_x.json").c_str(), 0666), 0);
    refuses(of_folder, no_json);
    refuses(of_pipe, no_json);
}

TEST(Metadata, EnrichesCounterSets) {
    const TempDir folder;
    folder.write(
        "metadata_x.json",
        document(
            R"([{"pattern_match": ["0012_port_rcv"], "labels": {"unit": "pkts", "kind": "rx"}},
            {"pattern_match": ["0012_port_rcv"], "labels": {"unit": "lost"}},
            {"pattern_match": ["7_plain"]}, {"labels": {"a": "b"}}])"));
    const vrn_metadata_ptr metadata(vrn_metadata_load(folder.path().c_str()));
    const std::string other_types =
        R"({"groups":[1,{"counter_sets":[1,null,[2]]},{"labels":1,"counter_sets":{}}]})";
    const std::pair<std::string, std::string> cases[] = {
        {R"({"timestamp":1,"groups":[{"name":"g","labels":["l"],"counter_sets":[{"0012_port_rcv":5,"other":7,"7_plain":{"a":[1]}}]}]})",
         R"({"timestamp":1,"groups":[{"name":"g","counter_sets":[[{"port_rcv":[5,{"unit":"pkts","kind":"rx"}]},{"other":[7,{}]},{"plain":[{"a":[1]},{}]}]]}]})"},
        // Unlisted names keep their prefix.
        {R"({"groups":[{"counter_sets":[{"1_x":"t"},{}]}]})",
         R"({"groups":[{"counter_sets":[[{"1_x":["t",{}]}],[]]}]})"},
        {R"({"groups":[{"counter_sets":[{"":1}]}]})",
         R"({"groups":[{"counter_sets":[[{"":[1,{"a":"b"}]}]]}]})"},
        {other_types, other_types},
        {R"({"timestamp":1})", R"({"timestamp":1})"},
        {"[1]", "[1]"},
    };
    for (const auto &[before, after] : cases) {
        const vrn_json_value_ptr value(json_parse_string(before.c_str()));
        EXPECT_EQ(vrn_metadata_enrich(value.get(), metadata.get()), value.get());
        EXPECT_EQ(vrn_json_text_ptr(json_serialize_to_string(value.get())).get(), after);
        EXPECT_EQ(vrn_metadata_enrich(value.get(), nullptr), value.get());
    }
    EXPECT_EQ(vrn_metadata_enrich(nullptr, metadata.get()), nullptr);
}

}  // namespace
}  // namespace vrn::test
