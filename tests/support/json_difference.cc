#include "support/json_difference.h"

#include <deque>
#include <vector>

#include "counters/counter_data.h"
#include "counters/counters_text.h"
#include "data/event_json.h"
#include "data/event_text.h"
#include "data/schema/name_tables.h"
#include "data/schema/schema_registration.h"
#include "data/schema/type_system.h"
#include "support/random_source.h"
#include "utils/c_ptr.h"

namespace vrn::test {
namespace {

using JsonPtr = CPtr<JSON_Value, json_value_free>;

constexpr const char *failed = "failed";

std::string printed_tree(JSON_Value *value, JsonLayout layout) {
    const JsonPtr owner(value);
    if (!value) return failed;
    const CPtr<char, json_free_serialized_string> text(layout == JsonLayout::pretty
                                                           ? json_serialize_to_string_pretty(value)
                                                           : json_serialize_to_string(value));
    return text.get();
}

// What `write` appends behind a record that stands there already, twice.
template <typename Write>
std::string written(JsonText &text, Write write) {
    text.clear();
    if (!write()) return text.view().empty() ? failed : "something left of a failure";
    const std::string first(text.view());
    text.literal("\n");
    const std::string before(text.view());
    if (!write()) return "a failure at the second time";
    if (text.view() != before + first) return "another text at the second time";
    return first;
}

std::string difference(const std::string &tree, const std::string &text) {
    return tree == text ? "" : "tree: " + tree + "\ntext: " + text;
}

// A schema whose types may use those before them.
class RandomTypes {
  public:
    explicit RandomTypes(RandomSource &source) : source_(source) {
        json_set_escape_slashes(0);
        const std::size_t count = 1 + source_.below(3);
        for (std::size_t i = 0; i < count; ++i) add_type();
    }

    const vrn_type_definition_t *last() const {
        return schema_->num_types == 0 ? nullptr : schema_->types[schema_->num_types - 1];
    }

  private:
    const char *keep(std::string text) { return texts_.emplace_back(std::move(text)).c_str(); }

    const char *type_name() {
        if (schema_->num_types > 0 && source_.one_in(4))
            return schema_->types[source_.below(schema_->num_types)]->name;
        return vrn_builtin_type_name(1 + static_cast<std::uint32_t>(source_.below(22)));
    }

    void add_type() {
        std::vector<vrn_type_field_info_t> fields(1 + source_.below(5));
        for (vrn_type_field_info_t &field : fields) {
            field.type_name = type_name();
            field.name = keep(source_.text());
            field.description = "";
            field.array_length =
                source_.one_in(2) ? std::uint16_t{1} : static_cast<std::uint16_t>(source_.below(5));
        }
        const char *name = keep("t" + std::to_string(schema_->num_types));
        vrn_schema_add_type(schema_, name, fields.data(), fields.size(), nullptr);
    }

    RandomSource &source_;
    std::deque<std::string> texts_;
    vrn_type_system_ptr types_{vrn_type_system_create()};
    vrn_schema_t *schema_ = vrn_type_system_add_new_schema(types_.get(), "p", 0, nullptr);
};

std::string random_record(RandomSource &source, std::uint64_t size) {
    constexpr std::size_t slack = 8;
    std::string record;
    while (record.size() < size) {
        const std::uint64_t word = source.word();
        record.append(reinterpret_cast<const char *>(&word), sizeof word);
        if (source.one_in(3)) record += source.text();
    }
    record.resize(size);
    record.append(slack, '\x5a');
    return record;
}

class RandomCounters {
  public:
    explicit RandomCounters(RandomSource &source) : source_(source) {
        json_set_escape_slashes(0);
        const std::size_t groups = source_.below(3);
        for (std::size_t i = 0; i < groups; ++i) add_group();
        vrn_counters_schema_update_counter_offsets(schema_.get());
    }

    const vrn_counters_schema_t *schema() const { return schema_.get(); }

  private:
    void add_group() {
        const std::string name = source_.text();
        vrn_counter_group_ptr group(vrn_counter_group_create(name.c_str(), ""));
        group->granularity = static_cast<std::uint32_t>(source_.below(4));
        group->num_counter_sets = static_cast<std::uint32_t>(source_.below(3));
        const std::size_t counters = source_.below(6);
        for (std::size_t i = 0; i < counters; ++i) add_counter(group.get());
        if (vrn_counters_schema_add_group(schema_.get(), group.get()))
            static_cast<void>(group.release());  // to the schema
    }

    void add_counter(vrn_counter_group_t *group) {
        std::string name = source_.text();
        std::string empty;
        vrn_counter_info_t counter{};
        counter.name = name.data();
        counter.description = empty.data();
        counter.units = empty.data();
        counter.data_type = static_cast<std::uint32_t>(source_.below(9));
        counter.string_format = static_cast<std::uint32_t>(source_.below(6));
        counter.length = counter.data_type == VRN_DATA_STRING
                             ? static_cast<std::uint32_t>(1 + source_.below(9))
                             : 0;
        vrn_counter_group_add_counter(group, &counter);
    }

    RandomSource &source_;
    vrn_counters_schema_ptr schema_{vrn_counters_schema_create()};
};

// Of one random row; `rows` writes to `text`.
std::string row_difference(RandomSource &source, const RandomCounters &counters, JsonLayout layout,
                           JsonText *text, CountersText *rows) {
    const std::string values = random_record(source, source.below(100));
    const Bytes view(reinterpret_cast<const std::uint8_t *>(values.data()), values.size());
    const std::uint64_t timestamp =
        source.one_in(4) ? source.word() : 1'700'000'000'000'000 + source.below(3'000'000);
    const bool microseconds = source.one_in(2);
    const std::string tree = printed_tree(
        vrn_counters_row_to_json(timestamp, view, counters.schema(), microseconds), layout);
    return difference(tree,
                      written(*text, [&] { return rows->write(timestamp, view, microseconds); }));
}

}  // namespace

std::string event_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomTypes types(source);
    const vrn_type_definition_t *type = types.last();
    if (!type) return "";
    const std::string record = random_record(source, type->size);
    std::string all;
    for (const JsonLayout layout : {JsonLayout::compact, JsonLayout::pretty}) {
        JsonText text(layout);
        const auto write = [&] { return vrn_event_write_json(type, record.data(), &text); };
        all += difference(printed_tree(vrn_event_to_json(type, record.data()), layout),
                          written(text, write));
    }
    return all;
}

std::string counters_difference(std::string_view bytes) {
    RandomSource source(bytes);
    const RandomCounters counters(source);
    std::string all;
    for (const JsonLayout layout : {JsonLayout::compact, JsonLayout::pretty}) {
        JsonText text(layout);
        CountersText rows(*counters.schema(), text);
        for (int i = 0; i < 3; ++i) all += row_difference(source, counters, layout, &text, &rows);
    }
    return all;
}

}  // namespace vrn::test
