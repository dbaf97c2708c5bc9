#include "data/writer/value_filter.h"

#include <algorithm>
#include <string_view>

#include "utils/host_name.h"
#include "utils/log.h"

namespace {

// In capitals only: "all" is a name like any other.
constexpr std::string_view empty_keyword = "EMPTY";
constexpr std::string_view self_keyword = "SELF";
constexpr std::string_view all_keyword = "ALL";
constexpr char star = '*';

std::string_view trim_blanks(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string own_host_name() {
    char buffer[64] = {};  // the size of a source's field
    return vrn_get_host_name(buffer, sizeof buffer) ? buffer : "";
}

void add_self(vrn_value_filter_t *list, bool allow_self, const std::string &host_name) {
    if (!allow_self)
        VRN_LOG(VRN_LOG_WARNING,
                "[data page filter] Skipped value 'SELF' - not supported for tag filtering");
    else if (host_name.empty())
        VRN_LOG(VRN_LOG_WARNING,
                "[data page filter] Skipped value 'SELF' - failed to get hostname");
    else
        list->exact.insert(host_name);
}

// Patterns and names; the first rule that fits decides, so that "*a*" is a prefix.
void add_pattern(vrn_value_filter_t *list, const std::string &value) {
    if (value == all_keyword || value == std::string_view(&star, 1))
        list->match_all = true;
    else if (value.ends_with(star))
        list->prefixes.insert(value.substr(0, value.size() - 1));
    else if (value.starts_with(star))
        list->suffixes.insert(value.substr(1));
    else
        list->exact.insert(value);
}

}  // namespace

vrn_string_set vrn_split_value_list(const std::string &text) {
    vrn_string_set items;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(','), rest.size());
        const std::string_view item = trim_blanks(rest.substr(0, end));
        if (!item.empty()) items.emplace(item);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return items;
}

vrn_value_filter_t vrn_value_filter_parse(const vrn_string_set &values, bool allow_self) {
    // Looked up once, and only where it can be asked for: a host may have no name.
    const std::string host_name = allow_self ? own_host_name() : "";
    vrn_value_filter_t list;
    for (const std::string &value : values) {
        if (value.empty()) continue;
        if (value == empty_keyword)
            list.exact.insert("");
        else if (value == self_keyword)
            add_self(&list, allow_self, host_name);
        else
            add_pattern(&list, value);
    }
    list.is_empty =
        list.exact.empty() && list.prefixes.empty() && list.suffixes.empty() && !list.match_all;
    return list;
}

bool vrn_value_filter_matches(const vrn_value_filter_t &list, const std::string &value) {
    if (list.match_all || list.exact.contains(value)) return true;
    const auto starts = [&value](const std::string &prefix) { return value.starts_with(prefix); };
    const auto ends = [&value](const std::string &suffix) { return value.ends_with(suffix); };
    return std::ranges::any_of(list.prefixes, starts) || std::ranges::any_of(list.suffixes, ends);
}

std::string vrn_value_filter_describe(const vrn_value_filter_t &list) {
    // Whatever else is listed makes no difference then.
    if (list.match_all) return std::string(all_keyword);
    std::string text;
    const auto add = [&text](const std::string &entry) {
        if (!text.empty()) text += ", ";
        text += entry;
    };
    for (const std::string &value : list.exact)
        add(value.empty() ? std::string(empty_keyword) : value);
    for (const std::string &prefix : list.prefixes) add(prefix + star);
    for (const std::string &suffix : list.suffixes) add(star + suffix);
    return text;
}
