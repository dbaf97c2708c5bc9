#include "vrn_sql/statements.h"

#include <algorithm>
#include <cctype>

namespace vrn::sqltool {
namespace {

// The place after the next `end`; all of the text when there is none.
std::size_t after(std::string_view text, std::string_view end, std::size_t from) {
    const std::size_t at = text.find(end, std::min(from, text.size()));
    return at == text.npos ? text.size() : at + end.size();
}

// The place after the quoted text, name or comment that begins at `at`; `at` when none does.
std::size_t skip_quoted(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    // A doubled quote ends one text and begins the next, which comes to the same end.
    if (rest.starts_with('\'') || rest.starts_with('"'))
        return after(text, rest.substr(0, 1), at + 1);
    if (rest.starts_with("--")) return after(text, "\n", at);
    if (rest.starts_with("/*")) return after(text, "*/", at + 2);
    if (rest.starts_with("$$")) return after(text, "$$", at + 2);
    return at;
}

bool is_comment(std::string_view text) {
    return text.starts_with("--") || text.starts_with("/*");
}

bool has_words(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        if (is_comment(text.substr(at)))
            at = skip_quoted(text, at);
        else if (std::isspace(static_cast<unsigned char>(text[at])))
            ++at;
        else
            return true;
    }
    return false;
}

std::string in_quotes(std::string_view text, char quote) {
    std::string quoted(1, quote);
    for (const char letter : text) quoted.append(letter == quote ? 2 : 1, letter);
    return quoted + quote;
}

}  // namespace

std::vector<std::string> split_statements(std::string_view text, std::string *rest) {
    std::vector<std::string> statements;
    std::size_t start = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (const std::size_t end = skip_quoted(text, at); end != at) {
            at = end;
        } else if (text[at++] == ';') {
            const std::string_view statement = text.substr(start, at - 1 - start);
            if (has_words(statement)) statements.emplace_back(statement);
            start = at;
        }
    }
    // A quote that isn't closed takes all that follows, so that the prompt waits for its end.
    *rest = has_words(text.substr(start)) ? text.substr(start) : "";
    return statements;
}

std::vector<std::string> texts_in_quotes(std::string_view text) {
    std::vector<std::string> found;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = skip_quoted(text, at);
        const bool is_text = end > at + 1 && (text[at] == '\'' || text[at] == '"');
        if (is_text) found.emplace_back(text.substr(at + 1, end - at - 2));
        at = std::max(end, at + 1);
    }
    return found;
}

std::string quoted_text(std::string_view text) {
    return in_quotes(text, '\'');
}

std::string quoted_name(std::string_view name) {
    return in_quotes(name, '"');
}

}  // namespace vrn::sqltool
