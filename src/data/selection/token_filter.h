// Filter of texts by tokens: "a+b-c" wants a and b and refuses c. In a token, leading '^' anchors
// the literal at the start of the text and a '$' after it at the end; case does not count.
#pragma once

#include <cstddef>

inline constexpr std::size_t VRN_FILTER_MAX_TOKENS = 32;
inline constexpr std::size_t VRN_FILTER_TOKEN_SIZE = 128;  // terminator included

// A token list is an array of VRN_FILTER_MAX_TOKENS of these with a count beside it.
using vrn_filter_token_t = char[VRN_FILTER_TOKEN_SIZE];

// Fills both lists from `text`, which may be null. Stops after an error line at a token that is too
// long or one too many; what was read until then stays.
void vrn_filter_parse(const char *text, vrn_filter_token_t *inclusive, std::size_t *inclusive_count,
                      vrn_filter_token_t *exclusive, std::size_t *exclusive_count);

// One token against one text. Only the first occurrence of the literal counts.
bool vrn_filter_token_match(const char *text, const char *token);

// True when no exclusive and every inclusive token matches; false for a null list or text.
bool vrn_filter_have_match(const vrn_filter_token_t *inclusive, std::size_t inclusive_count,
                           const vrn_filter_token_t *exclusive, std::size_t exclusive_count,
                           const char *text);

// In place; accepts null.
void vrn_filter_to_lower(char *text);
