// The two ways of a record to JSON, side by side.
#pragma once

#include <string>

#include "data/text/json_text.h"
#include "data/text/json_value.h"

namespace vrn::test {

inline constexpr const char *failed = "failed";

// Takes `value`, which may be null.
inline std::string printed_tree(JSON_Value *value, JsonLayout layout) {
    const vrn_json_value_ptr owner(value);
    if (!value) return failed;
    const vrn_json_text_ptr text(layout == JsonLayout::pretty
                                     ? json_serialize_to_string_pretty(value)
                                     : json_serialize_to_string(value));
    return text.get();
}

// What `write` appends to an empty text, and again after a record that stands there already.
template <typename Write>
std::string written(JsonText &text, Write write) {
    text.clear();
    if (!write()) return text.view().empty() ? failed : "something left of a failure";
    const std::string first(text.view());
    text.append("\n");
    const std::string before(text.view());
    if (!write()) return "a failure at the second time";
    if (text.view() != before + first) return "another text at the second time";
    return first;
}

// Empty when there is none.
inline std::string difference(const std::string &tree, const std::string &text) {
    return tree == text ? "" : "tree: " + tree + "\ntext: " + text;
}

}  // namespace vrn::test
