#include "data/text/json_text.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "data/text/json_value.h"

namespace vrn {

JsonText::JsonText(JsonLayout layout)
    : pretty_(layout == JsonLayout::pretty), colon_gap_(pretty_ ? 1 : 0) {
    separator_ = pretty_ ? ",\n" : ",";
    set_level(0);
}

// The level is set back too: what failed may have stood in objects that were never closed.
void JsonText::rewind(const Mark &mark) {
    cut(mark.size);
    set_level(mark.level);
    is_empty_ = mark.is_empty;
}

void JsonText::set_level(std::size_t level) {
    constexpr std::size_t indent_size = 4;
    level_ = level;
    if (pretty_) separator_size_ = 2 + level * indent_size;
    // Never shrinks: deeper levels come and go with every record.
    if (separator_.size() < separator_size_ + step) separator_.resize(separator_size_ + step, ' ');
}

void JsonText::open(char bracket) {
    append(bracket);
    set_level(level_ + 1);
    is_empty_ = 1;
}

void JsonText::close(char bracket) {
    set_level(level_ - 1);
    char *out = reserve(separator_size_ + 1);
    if (pretty_ && is_empty_ == 0)
        out = copy_in_steps(out, &separator_[1], separator_size_ - 1);  // no comma
    *out++ = bracket;
    is_empty_ = 0;
    advance_to(out);
}

void JsonText::key(std::string_view name) {
    element();
    append_json_string(name, this);
    append(pretty_ ? ": " : ":");
}

bool JsonText::tree(const JSON_Value *value) {
    const vrn_json_text_ptr text(pretty_ ? json_serialize_to_string_pretty(value)
                                         : json_serialize_to_string(value));
    if (text) append(text.get());
    return text != nullptr;
}

}  // namespace vrn
