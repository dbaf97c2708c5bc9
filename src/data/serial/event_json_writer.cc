#include "data/serial/event_json_writer.h"

#include "data/serial/event_json.h"
#include "data/serial/event_walk.h"
#include "data/text/json_value.h"
#include "utils/rollback.h"
#include "utils/with_memory.h"

namespace {

// See event_walk.h.
class TextSink {
  public:
    explicit TextSink(vrn::JsonText &text) : text_(text) {}

    // A member that is set twice keeps its first place and its last value: a matter for a tree.
    bool needs_tree() const { return needs_tree_; }

    // Ends the walk at the first type of that kind: the tree begins anew.
    bool begin_object(const vrn_type_definition_t &type) {
        needs_tree_ = needs_tree_ || type.has_repeated_names;
        text_.begin_object();
        return !needs_tree_;
    }
    bool end_object() {
        text_.end_object();
        return true;
    }
    void begin_array() { text_.begin_array(); }
    bool end_array() {
        text_.end_array();
        return true;
    }
    void element() { text_.element(); }
    void key(const vrn_type_field_definition_t &field) { text_.key(field.json_name); }

    template <typename T>
    bool number(T value) {
        return text_.number(value);
    }
    bool hex(std::uint64_t value) {
        text_.hex(value);
        return true;
    }
    bool string(std::string_view text) { return text_.string(text); }
    // Needs no memory of its own, so that it never takes the normal route.
    bool guid_word(const vrn_type_field_definition_t &, std::uint64_t value) { return hex(value); }
    static std::uint64_t load_word(const void *data, unsigned) {
        return vrn::load_le<std::uint64_t>(data);  // at the cost of slack after records
    }

  private:
    vrn::JsonText &text_;
    bool needs_tree_ = false;
};

bool write_tree(const vrn_type_definition_t *type, const void *record, vrn::JsonText *text) {
    return vrn::with_memory([&] {
        const vrn_json_value_ptr value(vrn_event_to_json(type, record));
        return value && text->tree(value.get());
    });
}

}  // namespace

bool vrn_event_write_json(const vrn_type_definition_t *type, const void *record,
                          vrn::JsonText *text) {
    const vrn::JsonText::Mark start = text->mark();
    vrn::Rollback added([&] { text->rewind(start); });
    TextSink sink(*text);
    bool done = vrn::EventWalk(sink, vrn_event_converts_guids()).record(*type, record);
    // Any other failure would fail the tree just as well.
    if (!done && sink.needs_tree()) {
        text->rewind(start);
        done = write_tree(type, record, text);
    }
    if (done) added.keep();
    return done;
}
