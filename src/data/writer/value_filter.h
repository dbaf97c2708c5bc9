// One list of the page filter: names, patterns with a star at one end, and keywords.
#pragma once

#include <string>
#include <unordered_set>

using vrn_string_set = std::unordered_set<std::string>;

struct vrn_value_filter_t {
    vrn_string_set exact;  // compared whole; may hold the empty string
    vrn_string_set prefixes;
    vrn_string_set suffixes;
    bool match_all = false;
    bool is_empty = true;  // the list was not configured: nothing above is set
};

// Items of a comma-separated text without the blanks and tabs around them; empty ones are dropped.
vrn_string_set vrn_split_value_list(const std::string &text);

// List of a set of values: "EMPTY", "SELF", "ALL", "*", "prefix*", "*suffix", or a name. Keywords
// are case-sensitive, and a star inside a value is a plain character. "SELF", the name of this
// host, is skipped after a warning when `allow_self` is false or the host has no name.
vrn_value_filter_t vrn_value_filter_parse(const vrn_string_set &values, bool allow_self);

bool vrn_value_filter_matches(const vrn_value_filter_t &list, const std::string &value);

// The list as text for messages: "ALL", or its entries joined by ", ".
std::string vrn_value_filter_describe(const vrn_value_filter_t &list);
