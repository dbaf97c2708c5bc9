#include "data/writer/data_page_filter.h"

#include <exception>

#include "data/writer/scope_file.h"
#include "utils/byte_reader.h"
#include "utils/log.h"

namespace {

// Adds the entries of a scope file to `scope`; a file that is refused leaves it as it was.
// `kind` is "allowed" or "excluded", `title` the same with a capital.
void add_scope_file(vrn_string_set *scope, const std::string &path, const std::string &log_prefix,
                    const char *kind, const char *title) {
    if (path.empty()) return;
    try {
        scope->merge(vrn_load_scope_file(path));
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR,
                "[data page filter] %sFailed to parse %s scope file: %s. %s scope from file will "
                "be ignored.",
                log_prefix.c_str(), kind, error.what(), title);
    }
}

// A file of allowed sources that was refused leaves its dimension open, too: lists that are not
// there forbid nothing.
bool is_open(const vrn_value_filter_t &allowed, const vrn_value_filter_t &excluded) {
    return allowed.match_all || (allowed.is_empty && excluded.is_empty);
}

// True, after an error line, when a dimension is both allowed and excluded.
bool has_conflict(const vrn_value_filter_t &allowed, const vrn_value_filter_t &excluded,
                  const std::string &log_prefix, const char *lists) {
    if (allowed.is_empty || excluded.is_empty) return false;
    VRN_LOG(VRN_LOG_ERROR,
            "[data page filter] %sConfiguration conflict: allowed %s and excluded %s are both "
            "configured. Cannot configure both allowed and excluded %s at the same time. Undefined "
            "behavior.",
            log_prefix.c_str(), lists, lists, lists);
    return true;
}

void validate(const vrn_data_page_filter_t &filter) {
    const char *prefix = filter.log_prefix.c_str();
    // A conflict is only told: both lists apply, the allowed one first.
    const bool tags = has_conflict(filter.allowed_tags, filter.excluded_tags, filter.log_prefix,
                                   VRN_TAG_WORDS.list);
    const bool scope = has_conflict(filter.allowed_scope, filter.excluded_scope, filter.log_prefix,
                                    VRN_SCOPE_WORDS.list);
    if (tags || scope)
        VRN_LOG(VRN_LOG_ERROR,
                "[data page filter] %sConflicts found in allowed and excluded tags or scope, the "
                "behavior is undefined",
                prefix);
    else
        VRN_LOG(VRN_LOG_DEBUG, "[data page filter] %sConfiguration is valid", prefix);
}

// `kind` is "tag" or "scope", `values` names what is filtered by it.
void print_dimension(const vrn_data_page_filter_t &filter, const vrn_value_filter_t &allowed,
                     const vrn_value_filter_t &excluded, const char *kind, const char *values) {
    const char *prefix = filter.log_prefix.c_str();
    if (allowed.is_empty)
        VRN_LOG(VRN_LOG_INFO,
                "[data page filter] %s%s filtering disabled - all %s will be exported", prefix,
                kind, values);
    else
        VRN_LOG(VRN_LOG_INFO, "[data page filter] %s%s filtering enabled - allowed %s: %s", prefix,
                kind, values, vrn_value_filter_describe(allowed).c_str());
    if (!excluded.is_empty)
        VRN_LOG(VRN_LOG_INFO,
                "[data page filter] %sexcluded %s filtering enabled - excluded %s: %s", prefix,
                kind, values, vrn_value_filter_describe(excluded).c_str());
}

}  // namespace

void vrn_data_page_filter_init(vrn_data_page_filter_t *filter, const std::string &allowed_tags,
                               const std::string &excluded_tags, const std::string &allowed_scope,
                               const std::string &excluded_scope,
                               const std::string &allowed_scope_file,
                               const std::string &excluded_scope_file,
                               const std::string &log_prefix) {
    filter->log_prefix = log_prefix;
    vrn_string_set allowed_sources = vrn_split_value_list(allowed_scope);
    vrn_string_set excluded_sources = vrn_split_value_list(excluded_scope);
    add_scope_file(&allowed_sources, allowed_scope_file, log_prefix, "allowed", "Allowed");
    add_scope_file(&excluded_sources, excluded_scope_file, log_prefix, "excluded", "Excluded");

    filter->excluded_tags = vrn_value_filter_parse(vrn_split_value_list(excluded_tags), false);
    filter->allowed_tags = vrn_value_filter_parse(vrn_split_value_list(allowed_tags), false);
    filter->excluded_scope = vrn_value_filter_parse(excluded_sources, true);
    filter->allowed_scope = vrn_value_filter_parse(allowed_sources, true);

    // "ALL" opens a dimension whatever its excluded list says.
    filter->accept_all = is_open(filter->allowed_tags, filter->excluded_tags) &&
                         is_open(filter->allowed_scope, filter->excluded_scope);
    filter->reject_all = filter->excluded_tags.match_all || filter->excluded_scope.match_all;
    validate(*filter);
}

void vrn_data_page_filter_print_config(const vrn_data_page_filter_t &filter) {
    print_dimension(filter, filter.allowed_tags, filter.excluded_tags, "tag", "tags");
    print_dimension(filter, filter.allowed_scope, filter.excluded_scope, "scope", "sources");
}

bool vrn_data_page_filter_accepts(const vrn_data_page_filter_t &filter,
                                  const vrn_value_filter_t &allowed,
                                  const vrn_value_filter_t &excluded, const std::string &value,
                                  const vrn_filter_words_t &words) {
    if (!allowed.is_empty && !vrn_value_filter_matches(allowed, value)) {
        VRN_LOG(VRN_LOG_DEBUG,
                "[data page filter] %sSkipping data page with %s '%s' - not in allowed %s list",
                filter.log_prefix.c_str(), words.value, value.c_str(), words.list);
        return false;
    }
    if (!excluded.is_empty && vrn_value_filter_matches(excluded, value)) {
        VRN_LOG(VRN_LOG_DEBUG,
                "[data page filter] %sSkipping data page with %s '%s' - in excluded %s list",
                filter.log_prefix.c_str(), words.value, value.c_str(), words.list);
        return false;
    }
    return true;
}

bool vrn_data_page_filter_accepts_page(const vrn_data_page_filter_t &filter,
                                       const vrn_data_page_t &page) {
    // The one check that a writer without a filter pays for.
    if (filter.accept_all) return true;
    // Without a line: there would be one for each page.
    if (filter.reject_all) return false;
    const std::string tag(vrn::field_text(page.source.tag));
    const std::string source(vrn::field_text(page.source.source));
    return vrn_data_page_filter_accepts(filter, filter.allowed_tags, filter.excluded_tags, tag,
                                        VRN_TAG_WORDS) &&
           vrn_data_page_filter_accepts(filter, filter.allowed_scope, filter.excluded_scope, source,
                                        VRN_SCOPE_WORDS);
}
