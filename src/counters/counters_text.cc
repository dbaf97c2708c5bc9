#include "counters/counters_text.h"

#include <new>
#include <string_view>
#include <unordered_set>

#include "counters/counter_data.h"
#include "counters/counters_row_walk.h"

namespace vrn {

// See counters_row_walk.h.
class CountersText::Sink {
  public:
    Sink(CountersText &owner, const CounterRow &row, bool microseconds, JsonText &text)
        : owner_(owner), row_(row), microseconds_(microseconds), text_(text) {}

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
    bool begin_element() {
        next_ = counters_;
        text_.element();
        text_.begin_object();
        return true;
    }
    void end_element() { text_.end_object(); }
    void begin_group(std::size_t index) { counters_ = owner_.groups_[index].data(); }
    void counter(const vrn_counter_info_t &counter) {
        const Counter &prepared = *next_++;
        const JsonText::Mark start = text_.mark();
        text_.key(*prepared.name);
        if (!value(counter, prepared.form)) text_.rewind(start);
    }

  private:
    bool value(const vrn_counter_info_t &counter, vrn_counter_form_t form) {
        if (form == VRN_FORM_UINT64) return text_.number(row_.read<std::uint64_t>(counter.offset));
        if (form == VRN_FORM_INT64) return text_.number(row_.read<std::int64_t>(counter.offset));
        const auto found = vrn_counter_value_read(&counter, row_, form == VRN_FORM_GUID);
        return found.text ? text_.string(found.text) : text_.number(found.number);
    }

    CountersText &owner_;
    const CounterRow &row_;
    bool microseconds_;
    JsonText &text_;
    const Counter *counters_ = nullptr;  // of the group
    const Counter *next_ = nullptr;
};

CountersText::CountersText(const vrn_counters_schema_t &schema) : schema_(schema) {
    const bool convert_guids = vrn_counters_convert_guids();
    for (std::uint32_t i = 0; i < schema.num_groups; ++i) {
        const vrn_counter_group_t &group = *schema.groups[i];
        std::unordered_set<std::string_view> names;
        std::vector<Counter> &counters = groups_.emplace_back();
        for (std::uint32_t j = 0; j < group.num_counters; ++j) {
            const vrn_counter_info_t &counter = *group.counters[j];
            // parson sets no member without a name.
            needs_tree_ = needs_tree_ || !counter.name || !names.insert(counter.name).second;
            if (needs_tree_) return;
            counters.push_back({vrn_json_name_ptr(vrn_json_name_create(counter.name)),
                                vrn_counter_form(&counter, convert_guids)});
            if (!counters.back().name) throw std::bad_alloc();
        }
    }
}

bool CountersText::write(std::uint64_t timestamp, Bytes values, bool microseconds, JsonText *text) {
    const JsonText::Mark start = text->mark();
    try {
        if (!needs_tree_) return write_text(timestamp, CounterRow(values), microseconds, text);
        const CPtr<JSON_Value, json_value_free> value(
            vrn_counters_row_to_json(timestamp, values, &schema_, microseconds));
        return value && text->tree(value.get());
    } catch (const std::bad_alloc &) {
        text->rewind(start);
        return false;
    }
}

bool CountersText::write_text(std::uint64_t timestamp, const CounterRow &row, bool microseconds,
                              JsonText *text) {
    Sink sink(*this, row, microseconds, *text);
    text->begin_object();
    const bool done = walk_counters_row(timestamp, schema_, sink);
    text->end_object();
    return done;
}

}  // namespace vrn
