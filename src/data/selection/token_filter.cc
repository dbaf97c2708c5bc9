#include "data/selection/token_filter.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <string_view>

#include "utils/log.h"

namespace {

// By the process locale, as both sides of a comparison are.
char to_lower(char character) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

std::size_t find_ignoring_case(std::string_view text, std::string_view literal) {
    const auto same = [](char a, char b) { return to_lower(a) == to_lower(b); };
    const auto found = std::search(text.begin(), text.end(), literal.begin(), literal.end(), same);
    return found == text.end() ? std::string_view::npos : found - text.begin();
}

// An empty token is dropped. False, after an error line, when the token can't be kept.
bool keep_token(std::string_view token, vrn_filter_token_t *tokens, std::size_t *count) {
    if (token.empty()) return true;
    // Cut short, it would fit more texts than the user asked for.
    if (token.size() >= VRN_FILTER_TOKEN_SIZE) {
        VRN_LOG(VRN_LOG_ERROR, "Token of size %zu is too long to keep in the tokens array",
                token.size());
        return false;
    }
    if (*count >= VRN_FILTER_MAX_TOKENS) {
        VRN_LOG(VRN_LOG_ERROR, "Cannot handle more than %d tokens",
                static_cast<int>(VRN_FILTER_MAX_TOKENS));
        return false;
    }
    char *kept = tokens[(*count)++];
    *std::ranges::copy(token, kept).out = '\0';
    return true;
}

bool token_is_in(const char *kind, const char *token, const char *text) {
    const bool found = vrn_filter_token_match(text, token);
    VRN_LOG(VRN_LOG_DEBUG, "[vrn_filter_have_match] %s token '%s' %s found in '%s'", kind, token,
            found ? "was" : "was not", text);
    return found;
}

std::span<const vrn_filter_token_t> tokens_of(const vrn_filter_token_t *tokens, std::size_t count) {
    return {tokens, std::min(count, VRN_FILTER_MAX_TOKENS)};
}

}  // namespace

void vrn_filter_parse(const char *text, vrn_filter_token_t *inclusive, std::size_t *inclusive_count,
                      vrn_filter_token_t *exclusive, std::size_t *exclusive_count) {
    *inclusive_count = 0;
    *exclusive_count = 0;
    std::string_view rest = text ? text : "";
    bool excluding = false;
    while (!rest.empty()) {
        const std::string_view token = rest.substr(0, rest.find_first_of("+-"));
        if (!keep_token(token, excluding ? exclusive : inclusive,
                        excluding ? exclusive_count : inclusive_count))
            return;
        rest.remove_prefix(token.size());
        // The end closes the last token; a sign there opens none.
        if (rest.empty()) return;
        // The sign in front of a token tells its list. No token can hold a sign.
        excluding = rest.front() == '-';
        rest.remove_prefix(1);
    }
}

bool vrn_filter_token_match(const char *text, const char *token) {
    const std::string_view whole = text;
    std::string_view rest = token;
    const bool from_start = rest.starts_with('^');
    rest.remove_prefix(std::min(rest.find_first_not_of('^'), rest.size()));
    // Any number of leading '^' counts as one.
    const std::string_view literal = rest.substr(0, rest.find_first_of("^$"));
    rest.remove_prefix(literal.size());

    // An empty literal stands at the start with '^', else at the end: "$" fits every text and "^$"
    // only the empty one.
    std::size_t position = from_start ? 0 : whole.size();
    if (!literal.empty()) {
        // Only the first occurrence counts: "abc$" doesn't fit "abcabc". Deliberate.
        const std::size_t found = find_ignoring_case(whole, literal);
        if (found == std::string_view::npos || (from_start && found != 0)) return false;
        position = found + literal.size();
    }
    if (rest.starts_with('$') && position != whole.size()) return false;
    // Whatever else is left, such as a second '^', makes the token fit nothing.
    return rest.find_first_not_of('$') == std::string_view::npos;
}

bool vrn_filter_have_match(const vrn_filter_token_t *inclusive, std::size_t inclusive_count,
                           const vrn_filter_token_t *exclusive, std::size_t exclusive_count,
                           const char *text) {
    if (!inclusive || !exclusive || !text) return false;
    // Exclusive tokens first: one that fits decides. Inclusive ones must fit all together.
    for (const char *token : tokens_of(exclusive, exclusive_count))
        if (token_is_in("exclusive", token, text)) return false;
    for (const char *token : tokens_of(inclusive, inclusive_count))
        if (!token_is_in("inclusive", token, text)) return false;
    return true;
}

void vrn_filter_to_lower(char *text) {
    if (!text) return;
    for (; *text; ++text) *text = to_lower(*text);
}
