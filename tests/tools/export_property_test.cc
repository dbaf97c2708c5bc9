// Random types and counters: what is exported of a row against the JSON trees of vrn_read.
#include <charconv>
#include <random>

#include "counters/counter_data.h"
#include "data/serial/event_json.h"
#include "data/text/json_value.h"
#include "support/random_rows.h"
#include "support/test.h"
#include "vrn_export/format/encoder.h"

namespace vrn::exporter {
namespace {

using test::Lines;
using test::RandomSource;

constexpr char replacement[] = "\xEF\xBF\xBD";

// What `show`, given the encoder, shows of one file; with the heads of its tables.
template <typename Show>
std::string exported(const Format &format, Show show) {
    const auto encoder = format.make_encoder();
    Encoded encoded;
    encoder->begin_file("", {});
    encoder->begin_run(&encoded);
    show(encoder.get());
    std::string text;
    for (const Encoded::Table &table : encoded.tables)
        text += format.head(table.name) + std::string(table.text.view());
    return text;
}

std::vector<Lines> parse_csv(std::string_view text) {
    std::vector<Lines> rows(1, {""});
    bool is_quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"' && is_quoted && text.substr(i + 1, 1) == "\"") {
            rows.back().back() += text[++i];
        } else if (text[i] == '"') {
            is_quoted = !is_quoted;
        } else if (!is_quoted && text[i] == ',') {
            rows.back().emplace_back();
        } else if (!is_quoted && text.substr(i, 2) == "\r\n") {
            rows.push_back({""});
            ++i;
        } else {
            rows.back().back() += text[i];
        }
    }
    rows.pop_back();
    return rows;
}

std::string number_text(double number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

// As the text of a number of JSON shows it, when it is one.
std::string canonical(const std::string &text) {
    double number = 0;
    const char *const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? number_text(number) : text;
}

// The values below `value`, from member `first` on, as a table shows them.
void flatten(const JSON_Value *value, std::size_t first, Lines *texts) {
    const JSON_Object *object = json_value_get_object(value);
    const JSON_Array *array = json_value_get_array(value);
    for (std::size_t i = first; object && i < json_object_get_count(object); ++i)
        flatten(json_object_get_value_at(object, i), 0, texts);
    for (std::size_t i = 0; array && i < json_array_get_count(array); ++i)
        flatten(json_array_get_value(array, i), 0, texts);
    if (object || array) return;
    if (json_value_get_type(value) == JSONNumber)
        texts->push_back(number_text(json_value_get_number(value)));
    else
        texts->emplace_back(json_value_get_type(value) == JSONString ? json_value_get_string(value)
                                                                     : "");
}

// Members and elements in order, those of `own` from member `first` on. Where vrn_read has no exact
// value the two may differ: it cuts texts at bytes that it can't print, takes neighbours of narrow
// GUIDs for parts of them, and makes texts of 128-bit integers.
void expect_values(const JSON_Value *tree, const JSON_Value *own, std::size_t first) {
    const JSON_Object *object = json_value_get_object(own);
    const JSON_Array *array = json_value_get_array(own);
    const bool is_same_kind = json_value_get_type(tree) == json_value_get_type(own);
    if (is_same_kind && object) {
        const JSON_Object *expected = json_value_get_object(tree);
        ASSERT_EQ(json_object_get_count(object), json_object_get_count(expected) + first);
        for (std::size_t i = 0; i < json_object_get_count(expected); ++i)
            expect_values(json_object_get_value_at(expected, i),
                          json_object_get_value_at(object, i + first), 0);
    } else if (is_same_kind && array) {
        ASSERT_EQ(json_array_get_count(array), json_array_get_count(json_value_get_array(tree)));
        for (std::size_t i = 0; i < json_array_get_count(array); ++i)
            expect_values(json_array_get_value(json_value_get_array(tree), i),
                          json_array_get_value(array, i), 0);
    } else if (json_value_get_type(tree) == JSONNumber) {
        EXPECT_EQ(json_value_get_number(own), json_value_get_number(tree));
    } else if (is_same_kind) {
        const std::string text = json_value_get_string(own), shown = json_value_get_string(tree);
        const bool is_narrow_guid = shown.starts_with("0x") && !text.starts_with("0x");
        EXPECT_TRUE(is_narrow_guid || text.starts_with(shown)) << text << "\n" << shown;
    } else {
        EXPECT_EQ(json_value_get_type(tree), JSONString);
    }
}

class RandomExport : public testing::Test {
  protected:
    template <typename Check>
    void repeat(Check check) {
        std::mt19937_64 random(3);
        for (int round = 0; round < 2000 && !HasFailure(); ++round) {
            SCOPED_TRACE(round);
            std::string bytes(800, '\0');
            for (char &byte : bytes) byte = static_cast<char>(random());
            RandomSource source(bytes);
            check(source);
        }
        EXPECT_GT(num_compared_, 500);
    }

    // `show` shows one record, whose values are those of `tree` unless that is null.
    template <typename Show>
    void compare(const JSON_Value *tree, Show show) {
        const std::string line = exported(*ndjson_, show);
        if (line.empty()) return;
        const vrn_json_value_ptr own(json_parse_string(line.c_str()));
        // Names that are no UTF-8 may have become one; no schema file has such.
        ASSERT_TRUE(own || line.find(replacement) != line.npos) << line;
        if (!own) return;
        constexpr std::size_t own_members = 4, own_columns = 3;
        if (tree) expect_values(tree, own.get(), own_members);
        Lines texts;
        flatten(own.get(), own_members, &texts);
        const auto rows = parse_csv(exported(*csv_, show));
        ASSERT_EQ(rows.size(), 2U) << line;
        ASSERT_EQ(rows[0].size(), own_columns + texts.size()) << line;
        ASSERT_EQ(rows[1].size(), own_columns + texts.size()) << line;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            std::string field = rows[1][own_columns + i];
            if (field.find(replacement) != field.npos) continue;  // parson ends at a zero byte
            EXPECT_EQ(canonical(field), canonical(texts[i])) << line;
        }
        ++num_compared_;
    }

    test::CapturedLog log_;
    std::unique_ptr<Format> ndjson_ = make_format({.kind = FormatKind::ndjson});
    std::unique_ptr<Format> csv_ = make_format({.kind = FormatKind::csv});
    const scan::Place place_;
    int num_compared_ = 0;
};

TEST_F(RandomExport, HasTheValuesOfEvents) {
    repeat([&](RandomSource &source) {
        const test::RandomTypes types(source);
        const vrn_type_definition_t *type = types.last();
        if (!type) return;
        const std::string row = test::random_record(source, type->size);
        const vrn_json_value_ptr tree(vrn_event_to_json(type, row.data()));
        vrn_event_header_t header{};
        header.num_events = 1;
        compare(tree.get(), [&](Encoder *encoder) {
            encoder->events({.type = type,
                             .header = header,
                             .rows = bytes_of(row).first(type->size),
                             .count = 1,
                             .room = sizeof header + type->size,
                             .place_in_run = {&place_, 0}});
        });
    });
}

TEST_F(RandomExport, HasTheValuesOfCounters) {
    repeat([&](RandomSource &source) {
        const test::RandomCounters counters(source);
        auto schema = *counters.schema();
        if (schema.num_groups == 0) return;
        schema.num_groups = 1;
        schema.groups[0]->num_counter_sets = 1;
        schema.size = vrn_counters_schema_size_of_counters(&schema);
        const std::string row = test::random_record(source, schema.size);
        const Bytes values = bytes_of(row).first(schema.size);
        const vrn_json_value_ptr tree(vrn_counters_row_to_json(0, values, &schema, false));
        const JSON_Array *sets = json_object_get_array(
            json_array_get_object(
                json_object_get_array(json_value_get_object(tree.get()), "groups"), 0),
            "counter_sets");
        // What JSON can't hold leaves its key out there.
        const JSON_Value *set = json_array_get_value(sets, 0);
        const bool is_whole =
            json_object_get_count(json_value_get_object(set)) == schema.groups[0]->num_counters;
        compare(is_whole ? set : nullptr, [&](Encoder *encoder) {
            encoder->counters({.schema = &schema,
                               .header = {},
                               .row = values,
                               .held = values.size(),
                               .room = sizeof(vrn_data_block_t) + values.size(),
                               .place = place_});
        });
    });
}

}  // namespace
}  // namespace vrn::exporter
