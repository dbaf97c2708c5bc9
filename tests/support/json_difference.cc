#include "support/json_difference.h"

#include "counters/counter_data.h"
#include "counters/counters_json_writer.h"
#include "counters/metadata_enrich.h"
#include "data/serial/event_json.h"
#include "data/serial/event_json_writer.h"
#include "data/text/json_value.h"
#include "support/printed_difference.h"
#include "support/random_rows.h"

namespace vrn::test {
namespace {

JsonLayout random_layout(RandomSource &source) {
    return source.one_in(2) ? JsonLayout::compact : JsonLayout::pretty;
}

// A metadata document whose entries mostly name counters of the schema, and which is odd in any way
// that the loader must bear.
std::string random_metadata(RandomSource &source, const vrn_counters_schema_t *schema) {
    JsonText text(JsonLayout::compact);
    const auto name = [&]() -> std::string {
        if (schema->num_groups == 0 || source.one_in(4)) return source.text();
        const vrn_counter_group_t *group = schema->groups[source.below(schema->num_groups)];
        return group->num_counters == 0 ? ""
                                        : group->counters[source.below(group->num_counters)]->name;
    };
    const auto odd = [&] {
        static const char *const values[] = {"null", "7", "[]", "{}", "[7]", R"({"a":{}})"};
        text.append(values[source.below(std::size(values))]);
    };
    const auto add_entry = [&] {
        if (source.one_in(9)) return odd();
        text.begin_object();
        if (!source.one_in(9)) {
            text.key("pattern_match");
            text.append("[");
            append_json_string(name(), &text);
            text.append(R"(,"other"])");
        }
        text.key("labels");
        if (source.one_in(9)) {
            odd();
        } else {
            text.begin_object();
            for (std::size_t i = source.below(4); i > 0; --i) {
                text.key(source.text());
                if (source.one_in(5)) {
                    odd();
                } else {
                    append_json_string(source.text(), &text);
                }
            }
            text.end_object();
        }
        text.end_object();
    };
    text.append(R"({"metadata_content":{"counters":{"name_match_labels":[{"matches_and_labels":)");
    text.begin_array();
    for (std::size_t i = source.below(6); i > 0; --i) {
        text.element();
        add_entry();
    }
    text.end_array();
    text.append("}]}}}");
    return std::string(text.view());
}

// Of one random row; `rows` writes to `text`.
std::string row_difference(RandomSource &source, const vrn_counters_schema_t *schema,
                           const vrn_metadata_t *metadata, JsonLayout layout, JsonText *text,
                           CountersJsonWriter *rows) {
    const std::string values = random_record(source, source.below(100));
    const Bytes view(reinterpret_cast<const std::uint8_t *>(values.data()), values.size());
    const std::uint64_t timestamp =
        source.one_in(4) ? source.word() : 1'700'000'000'000'000 + source.below(3'000'000);
    const bool microseconds = source.one_in(2);
    JSON_Value *tree = vrn_counters_row_to_json(timestamp, view, schema, microseconds);
    return difference(printed_tree(vrn_metadata_enrich(tree, metadata), layout),
                      written(*text, [&] { return rows->write(timestamp, view, microseconds); }));
}

}  // namespace

std::string event_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomTypes types(source);
    const vrn_type_definition_t *type = types.last();
    if (!type) return "";
    const std::string record = random_record(source, type->size);
    const JsonLayout layout = random_layout(source);
    JsonText text(layout);
    EventJsonWriter records(*type, text);
    const auto write = [&] { return records.write(record.data()); };
    return difference(printed_tree(vrn_event_to_json(type, record.data()), layout),
                      written(text, write));
}

std::string counters_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomCounters counters(source);
    vrn_metadata_ptr metadata;
    if (!source.one_in(3)) {
        const std::string text = random_metadata(source, counters.schema());
        metadata.reset(
            vrn_metadata_from_json(vrn_json_value_ptr(json_parse_string(text.c_str())).get()));
    }
    const JsonLayout layout = random_layout(source);
    JsonText text(layout);
    CountersJsonWriter rows(*counters.schema(), metadata.get(), text);
    std::string all;
    for (int i = 0; i < 2; ++i)  // the second row meets what the first one left
        all += row_difference(source, counters.schema(), metadata.get(), layout, &text, &rows);
    return all;
}

}  // namespace vrn::test
