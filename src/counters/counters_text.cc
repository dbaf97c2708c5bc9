#include "counters/counters_text.h"

#include <new>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "counters/counter_data.h"
#include "counters/counters_row_walk.h"

namespace vrn {

// See counters_row_walk.h.
class CountersText::Sink {
  public:
    Sink(CountersText &owner, const CounterRow &row, bool microseconds)
        : owner_(owner), text_(owner.text_), row_(row), microseconds_(microseconds) {}

    void time(std::uint64_t timestamp) {
        text_.key("timestamp");
        text_.number(timestamp);
        const std::string_view time = owner_.time_.of(timestamp, microseconds_);
        if (time.empty()) return;
        text_.key("@timestamp");
        text_.string(time);
    }
    void text(const char *key, const char *value) {
        const JsonText::Mark start = text_.mark();
        text_.key(key);
        if (!text_.string(value)) text_.rewind(start);
    }
    bool begin_array(const char *key) {
        text_.key(key);
        text_.begin_array();
        return true;
    }
    void end_array() { text_.end_array(); }
    bool begin_group(std::size_t index) {
        index_ = index;
        text_.element();
        text_.begin_object();
        return true;
    }
    bool begin_set() {
        text_.element();
        text_.begin_object();
        Group &group = owner_.groups_[index_];
        if (group.keys.empty()) prepare_keys(*owner_.schema_.groups[index_], text_, &group);
        next_ = group.counters.data();
        key_ = group.keys.data();
        return true;
    }
    void end_element() { text_.end_object(); }
    void counter(const vrn_counter_info_t &counter) {
        const Counter &prepared = *next_++;
        const char *key = std::exchange(key_, key_ + prepared.key_size);
        switch (prepared.form) {
            case VRN_FORM_UINT64:
                return text_.prepared_integer(key, prepared.key_size,
                                              row_.read<std::uint64_t>(prepared.offset));
            case VRN_FORM_INT64:
                return text_.prepared_integer(key, prepared.key_size,
                                              row_.read<std::int64_t>(prepared.offset));
            default:
                return other(counter, prepared, key);
        }
    }

  private:
    void other(const vrn_counter_info_t &counter, const Counter &prepared, const char *key) {
        const JsonText::Mark start = text_.mark();
        text_.prepared_key(key, prepared.key_size);
        const auto value = vrn_counter_value_read(&counter, row_, prepared.form == VRN_FORM_GUID);
        if (!(value.text ? text_.string(value.text) : text_.number(value.number)))
            text_.rewind(start);
    }

    CountersText &owner_;
    JsonText &text_;
    const CounterRow &row_;
    bool microseconds_;
    std::size_t index_ = 0;  // of the group
    const Counter *next_ = nullptr;
    const char *key_ = nullptr;  // of the next counter
};

CountersText::CountersText(const vrn_counters_schema_t &schema, JsonText &text)
    : schema_(schema), text_(text) {
    const bool convert_guids = vrn_counters_convert_guids();
    for (std::uint32_t i = 0; i < schema.num_groups && !needs_tree_; ++i)
        add_group(*schema.groups[i], convert_guids);
}

void CountersText::add_group(const vrn_counter_group_t &group, bool convert_guids) {
    std::unordered_set<std::string_view> names;
    std::vector<Counter> &counters = groups_.emplace_back().counters;
    counters.reserve(group.num_counters);
    for (std::uint32_t i = 0; i < group.num_counters; ++i) {
        const vrn_counter_info_t &counter = *group.counters[i];
        // parson sets no member without a name.
        needs_tree_ = !counter.name || !names.insert(counter.name).second;
        if (needs_tree_) return;
        counters.push_back({counter.offset, 0, vrn_counter_form(&counter, convert_guids)});
    }
}

void CountersText::prepare_keys(const vrn_counter_group_t &from, const JsonText &text,
                                Group *group) {
    std::string keys;
    for (std::uint32_t i = 0; i < from.num_counters; ++i) {
        const std::string key = text.prepare_key(from.counters[i]->name);
        group->counters[i].key_size = static_cast<std::uint32_t>(key.size());
        keys += key;
    }
    keys.append(JsonText::key_slack, '\0');
    group->keys = std::move(keys);  // all or nothing
}

bool CountersText::write(std::uint64_t timestamp, Bytes values, bool microseconds) {
    const JsonText::Mark start = text_.mark();
    try {
        if (!needs_tree_) return write_text(timestamp, CounterRow(values), microseconds);
        const CPtr<JSON_Value, json_value_free> value(
            vrn_counters_row_to_json(timestamp, values, &schema_, microseconds));
        return value && text_.tree(value.get());
    } catch (const std::bad_alloc &) {
        text_.rewind(start);
        return false;
    }
}

bool CountersText::write_text(std::uint64_t timestamp, const CounterRow &row, bool microseconds) {
    Sink sink(*this, row, microseconds);
    text_.begin_object();
    const bool done = walk_counters_row(timestamp, schema_, sink);
    text_.end_object();
    return done;
}

}  // namespace vrn
