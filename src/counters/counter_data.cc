#include "counters/counter_data.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "counters/counter_row.h"
#include "counters/counter_value.h"
#include "counters/counters_row_walk.h"
#include "data/text/json_value.h"
#include "data/text/local_time_text.h"
#include "data/text/utf8.h"

namespace {

// See counters_row_walk.h. A value that JSON can't hold leaves its key out.
class TreeSink {
  public:
    TreeSink(JSON_Object *root, const vrn::CounterRow &row, bool microseconds)
        : object_(root), row_(row), microseconds_(microseconds) {}

    void time(std::uint64_t timestamp) {
        Member{*this, "timestamp"}.number(timestamp);
        const vrn::CString time(vrn_format_timestamp(timestamp, microseconds_));
        if (time) member("@timestamp", time.get());
    }
    void member(const char *key, const char *value) { Member{*this, key}.string(value); }
    bool begin_groups() { return begin_array("groups"); }
    void end_groups() { arrays_.pop_back(); }
    bool begin_group(std::size_t, const vrn_counter_group_t &group) {
        if (!begin_object()) return false;
        vrn::add_group_members(group, *this);
        return begin_array(vrn::counter_sets_key);
    }
    void end_group() { arrays_.pop_back(); }
    bool set(const vrn_counter_group_t &group) {
        if (!begin_object()) return false;
        for (std::uint32_t i = 0; i < group.num_counters; ++i) add(*group.counters[i]);
        return true;
    }
    // Whether memory was short for what could have been set.
    bool has_failed() const { return has_failed_; }

  private:
    bool begin_array(const char *key) {
        arrays_.push_back(vrn_json_add_array(object_, key));
        return arrays_.back() != nullptr;
    }
    // Of the innermost array.
    bool begin_object() {
        vrn_json_value_ptr value(json_value_init_object());
        object_ = json_value_get_object(value.get());
        return vrn_json_append(arrays_.back(), std::move(value));
    }

    void add(const vrn_counter_info_t &counter) {
        if (!counter.name) return;  // no key to set
        const auto form = vrn::counter_json_form(counter, vrn::counters_convert_guids());
        Member member{*this, counter.name};
        // A value that JSON can't hold leaves its key out; has_failed() knows of other failures.
        static_cast<void>(vrn::write_counter_json(counter, form, row_, member));
    }

    // See write_counter_json(). The double nearest to an integer stands for it.
    struct Member {
        TreeSink &sink;
        const char *name;

        template <typename T>
        bool number(T value) {
            const auto nearest = static_cast<double>(value);
            return std::isfinite(nearest) &&
                   sink.check(json_object_set_number(sink.object_, name, nearest));
        }
        bool string(std::string_view value) {
            // A copy, since parson reads on to a terminator.
            return vrn::is_utf8(value) && sink.check(json_object_set_string(
                                              sink.object_, name, std::string(value).c_str()));
        }
    };

    bool check(JSON_Status status) {
        has_failed_ = has_failed_ || status != JSONSuccess;
        return status == JSONSuccess;
    }

    JSON_Object *object_;  // the one being filled
    std::vector<JSON_Array *> arrays_;
    const vrn::CounterRow &row_;
    bool microseconds_;
    bool has_failed_ = false;
};

// Bytes of a row that its counters read. The schema's size may be less: it counts 8 bytes for plain
// counters whatever their length, while offsets follow the lengths.
std::uint64_t row_reach(const vrn_counters_schema_t *schema) {
    std::uint64_t reach = schema->size;
    for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
        const vrn_counter_group_t *group = schema->groups[i];
        for (std::uint32_t j = 0; j < group->num_counters; ++j) {
            const vrn_counter_info_t &counter = *group->counters[j];
            reach = std::max<std::uint64_t>(
                reach, std::uint64_t{counter.offset} + vrn::counter_size(counter));
        }
    }
    return reach;
}

}  // namespace

JSON_Value *vrn_counters_row_to_json(std::uint64_t timestamp, vrn::Bytes values,
                                     const vrn_counters_schema_t *schema, bool microseconds) {
    const vrn::CounterRow row(values);
    vrn_json_value_ptr value(json_value_init_object());
    try {
        TreeSink sink(json_value_get_object(value.get()), row, microseconds);
        if (!vrn::walk_counters_row(timestamp, *schema, sink) || sink.has_failed()) return nullptr;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
    return value.release();  // to the caller
}

JSON_Value *vrn_counters_block_to_json(const vrn_data_block_t *block,
                                       const vrn_counters_schema_t *schema, bool microseconds) {
    const auto *values = reinterpret_cast<const std::uint8_t *>(block) + sizeof *block;
    return vrn_counters_row_to_json(block->timestamp, {values, row_reach(schema)}, schema,
                                    microseconds);
}
