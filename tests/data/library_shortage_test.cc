// Functions that make something out of documents, records and texts while memory runs out: they
// make the whole of it or tell that they could not.
#include <unistd.h>

#include <new>
#include <span>

#include "counters/counter_data.h"
#include "counters/counters_schema_json.h"
#include "data/data_page.h"
#include "data/schema/schema_registration.h"
#include "data/schema/type_system_json.h"
#include "data/schema/type_system_load.h"
#include "data/selection/name_filter.h"
#include "data/selection/name_tables.h"
#include "data/serial/event_json.h"
#include "data/serial/influx_serializer.h"
#include "data/text/json_value.h"
#include "metrics/metrics_json_tree.h"
#include "support/failing_allocation.h"
#include "support/sample_files.h"
#include "support/test.h"
#include "utils/source_list.h"
#include "utils/with_memory.h"

namespace vrn::test {
namespace {

// What `make` gives is null when it could not be made; `show` gives its text.
template <typename Make, typename Show>
void expect_whole(Make make, Show show) {
    expect_all_or_nothing([&] {
        start_shortage();
        auto made = make();
        end_shortage();
        return made ? std::string(show(made.get())) : "";
    });
}

std::string itself(const char *text) {
    return text;
}

std::string shown(const JSON_Value *value) {
    return vrn_json_text_ptr(json_serialize_to_string(value)).get();
}

// A system of one schema in which a type has fields of another, and an index.
vrn_type_system_ptr build_system() {
    constexpr vrn_type_field_info_t point[] = {{"x", "d", "int16_t", VRN_COUNTING_DELTA, 1},
                                               {"y", "d", "int16_t", VRN_COUNTING_DELTA, 1}};
    constexpr vrn_type_field_info_t move[] = {{"name", "d", "char", VRN_COUNTING_ABSOLUTE, 6},
                                              {"track", "d", "point", VRN_COUNTING_ABSOLUTE, 2}};
    constexpr const char *index_names[] = {"name"};
    vrn_type_system_ptr system(vrn_type_system_create());
    if (!system) return nullptr;
    vrn_schema_t *schema = vrn_type_system_add_new_schema(system.get(), "provider", 1, nullptr);
    const bool is_built =
        schema && vrn_schema_add_type(schema, "point", point, 2, nullptr) == VRN_SCHEMA_OK &&
        vrn_schema_add_type(schema, "move", move, 2, nullptr) == VRN_SCHEMA_OK &&
        vrn_schema_set_field_indexes(schema, 1, index_names, 1) == VRN_SCHEMA_OK &&
        vrn_type_system_refresh_digests(system.get());
    return is_built ? std::move(system) : nullptr;
}

std::string shown_system(vrn_type_system_t *system) {
    const vrn_json_text_ptr text(vrn_type_system_to_string(system, false));
    std::string digests;
    for (const vrn_schema_t *schema : std::span(system->schemas, system->num_schemas))
        digests += schema->md5_digest_hex;
    return text.get() + digests;
}

TEST(LibraryShortage, TypeSystems) {
    expect_whole(build_system, shown_system);
    const vrn_type_system_ptr system = build_system();
    const auto write = [&] {
        return vrn_json_text_ptr(vrn_type_system_to_string(system.get(), true));
    };
    expect_whole(write, itself);
    const vrn_json_text_ptr document = write();
    expect_whole([&] { return vrn_type_system_ptr(vrn_type_system_from_string(document.get())); },
                 shown_system);
    const std::string events = sample_event_schema();
    const std::string counters = sample_counters_schema();
    expect_whole(
        [&] {
            vrn_type_system_ptr merged(vrn_type_system_create());
            std::uint8_t index = 0;
            for (const std::string *text : {&events, &counters})
                if (!merged || vrn_type_system_add_schema_from_json_string(
                                   merged.get(), text->c_str(), &index) != 0)
                    return vrn_type_system_ptr();
            return merged;
        },
        shown_system);
}

TEST(LibraryShortage, Records) {
    const vrn_type_system_ptr system(vrn_type_system_create());
    std::uint8_t index = 0;
    for (const std::string &text : {sample_event_schema(), sample_counters_schema()})
        ASSERT_EQ(vrn_type_system_add_schema_from_json_string(system.get(), text.c_str(), &index),
                  0U);
    const std::vector<std::uint8_t> row(64, 'a');
    const vrn_type_definition_t *type = system->schemas[0]->types[1];
    // A text that there is no memory for is a number in the tree, after a line.
    const auto with_all_memory = [](auto make) {
        return [make] {
            try {
                return with_memory(make);
            } catch (const std::bad_alloc &) {
                return decltype(make())();
            }
        };
    };
    expect_whole(
        with_all_memory([&] { return vrn_json_value_ptr(vrn_event_to_json(type, row.data())); }),
        shown);
    expect_whole(with_all_memory([&] {
                     return vrn_json_value_ptr(
                         vrn_counters_row_to_json(1, row, system->counters_schema, true));
                 }),
                 shown);
    expect_whole(
        with_all_memory([&] { return CString(vrn_influx_serialize_event(type, row.data())); }),
        itself);
    metrics::CntxBlockTables tables;
    tables.label_names = {{0, {"a"}}};
    tables.metric_names = {"m"};
    const std::vector<metrics::MetricRecord> records = {
        {.timestamp = 1,
         .samples = {.samples = {{0, 1}}},
         .encoded_labels = {{metrics::LabelKeyType::label_value, 0, "t"}}}};
    expect_whole(with_all_memory([&] {
                     return vrn_json_value_ptr(metrics::metrics_to_json(tables, records, false));
                 }),
                 shown);
}

TEST(LibraryShortage, Pages) {
    const vrn_source_t source = {"node1", "tag"};
    const std::string data = "VRND some data of a page";
    expect_whole(
        [&] {
            return vrn_data_page_ptr(vrn_blob_data_page_create(&source, data.data(), data.size()));
        },
        [](const vrn_data_page_t *page) { return std::to_string(page->page_size); });
    const vrn_page_memory_t shared = {VRN_PAGE_MEMORY_SHARED, getpid(), "vrn-test-of-shortage"};
    expect_whole([&] { return vrn_data_page_ptr(vrn_data_page_allocate(0, 4096, shared)); },
                 [](const vrn_data_page_t *page) { return std::string(page->memory.name); });
    EXPECT_NE(access(("/dev/shm/vrn-test-of-shortage_" + std::to_string(getpid())).c_str(), F_OK),
              0);
}

TEST(LibraryShortage, Lists) {
    const auto joined = [](const vrn_string_array_t *array) {
        std::string text;
        for (const char *item : vrn_string_array_items(array)) text.append(item).append(",");
        return text;
    };
    const auto split = [](std::string_view text) {
        return vrn_string_array_ptr(vrn_string_array_from_csv(text.data(), text.size()));
    };
    expect_whole([&] { return split("a,b,c,d,e"); }, joined);
    const auto names = split("b,a,ab,c");
    const auto include = split("a*");
    const auto mandatory = split("c");
    expect_whole(
        [&] {
            return vrn_string_array_ptr(vrn_match_counter_names(
                names.get(), include.get(), nullptr, mandatory.get(), VRN_MATCH_WILDCARD));
        },
        joined);
    const TempDir dir;
    const std::string lines = dir.write("lines", "# none\na\n" + std::string(200, 'b') + "\nc\n");
    expect_whole(
        [&] {
            vrn_string_array_t *array = nullptr;
            const bool is_loaded = vrn_string_array_load_file(&array, lines.c_str(), nullptr);
            vrn_string_array_ptr owner(array);
            return is_loaded ? std::move(owner) : nullptr;
        },
        joined);
    for (const std::string &text : {std::string("node[1-5]"), lines})
        expect_whole([&] { return vrn_source_list_ptr(vrn_source_list_from_spec(text.c_str())); },
                     [](const vrn_source_list_t *list) {
                         std::string shown;
                         for (const vrn_source_t *source : std::span(list->items, list->count))
                             shown.append(source->source).append(",");
                         return shown;
                     });
}

}  // namespace
}  // namespace vrn::test
