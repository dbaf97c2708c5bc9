// Decides from the tag and the source of a page whether it is stored.
// The source dimension is called scope in configuration and messages.
#pragma once

#include <string>

#include "data/data_page.h"
#include "data/writer/value_filter.h"

// Built once by vrn_data_page_filter_init and read-only from then on. A default one passes
// every page.
struct vrn_data_page_filter_t {
    vrn_value_filter_t allowed_tags;
    vrn_value_filter_t excluded_tags;
    vrn_value_filter_t allowed_scope;
    vrn_value_filter_t excluded_scope;
    std::string log_prefix;   // follows "[data page filter] " in messages
    bool accept_all = true;   // no lookup is needed
    bool reject_all = false;  // an excluded list holds everything; accept_all goes first
};

// Builds the filter from comma-separated texts and paths of scope files; any of the six may be
// empty. A scope file that can't be loaded costs its own entries only; a list that is allowed
// and excluded at once is logged, and both apply.
void vrn_data_page_filter_init(vrn_data_page_filter_t *filter, const std::string &allowed_tags,
                               const std::string &excluded_tags, const std::string &allowed_scope,
                               const std::string &excluded_scope,
                               const std::string &allowed_scope_file,
                               const std::string &excluded_scope_file,
                               const std::string &log_prefix);

// Logs the settings at info level.
void vrn_data_page_filter_print_config(const vrn_data_page_filter_t &filter);

// How messages name a dimension: one value of it, and its lists.
struct vrn_filter_words_t {
    const char *value;
    const char *list;
};
inline constexpr vrn_filter_words_t VRN_TAG_WORDS = {"tag", "tags"};
inline constexpr vrn_filter_words_t VRN_SCOPE_WORDS = {"source", "scope"};

// True when `value` passes the two lists of one dimension; lists that weren't configured pass
// everything. False after a debug line.
bool vrn_data_page_filter_accepts(const vrn_data_page_filter_t &filter,
                                  const vrn_value_filter_t &allowed,
                                  const vrn_value_filter_t &excluded, const std::string &value,
                                  const vrn_filter_words_t &words);

// True when the page is to be stored: accept_all, reject_all, tag and source decide in this
// order. `page` may be a copy of the header alone.
bool vrn_data_page_filter_accepts_page(const vrn_data_page_filter_t &filter,
                                       const vrn_data_page_t &page);
