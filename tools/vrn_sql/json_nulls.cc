#include "vrn_sql/json_nulls.h"

namespace vrn::sqltool {
namespace {

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

void JsonNulls::pass(std::string_view piece, std::string *out) {
    for (const char c : piece) {
        // Texts pass as they are: one may well hold the word NaN.
        if (is_in_text_) {
            *out += c;
            if (c == '"' && !is_escaped_) is_in_text_ = false;
            is_escaped_ = c == '\\' && !is_escaped_;
            continue;
        }
        if (is_in_word_ && is_letter(c)) continue;
        // No other word begins with a capital letter, but for exponents, which follow digits.
        is_in_word_ = c == 'N' || c == 'I';
        // A minus may end a piece, and belongs to a word as well as to a number: -Infinity is one
        // null.
        if (holds_minus_ && !is_in_word_) *out += '-';
        holds_minus_ = c == '-';
        is_in_text_ = c == '"';
        if (is_in_word_)
            *out += "null";
        else if (!holds_minus_)
            *out += c;
    }
}

}  // namespace vrn::sqltool
