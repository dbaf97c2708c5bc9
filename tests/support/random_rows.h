// Types, counters schemas and rows of them, made by the choices of a source.
#pragma once

#include <parson.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "counters/counters_schema.h"
#include "data/schema/builtin_types.h"
#include "data/schema/schema_registration.h"
#include "data/schema/type_system.h"
#include "data/selection/name_tables.h"
#include "support/random_source.h"

namespace vrn::test {

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
        // A repeated field name is refused, and then the types before it are all there is.
        static_cast<void>(
            vrn_schema_add_type(schema_, name, fields.data(), fields.size(), nullptr));
    }

    RandomSource &source_;
    std::deque<std::string> texts_;
    vrn_type_system_ptr types_{vrn_type_system_create()};
    vrn_schema_t *schema_ = vrn_type_system_add_new_schema(types_.get(), "p", 0, nullptr);
};

inline std::string random_record(RandomSource &source, std::uint64_t size) {
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
        static_cast<void>(vrn_counter_group_add_counter(group, &counter));  // out of memory
    }

    RandomSource &source_;
    vrn_counters_schema_ptr schema_{vrn_counters_schema_create()};
};

}  // namespace vrn::test
