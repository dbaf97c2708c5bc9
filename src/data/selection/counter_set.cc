#include "data/selection/counter_set.h"

#include <algorithm>

#include "data/selection/set_file.h"
#include "utils/log.h"

namespace {

constexpr vrn::SetFileKind file_kind{"ProviderCounterSet", "counter set", "cset"};
// Messages name the member that reads the lines, also where a helper of it logs.
constexpr char line_loader[] = "loadFromLines";

// Case counts, and there is neither '*' nor a substring here, unlike in the patterns of field sets.
bool counter_matches(std::string_view name, std::string_view pattern) {
    const bool from_start = pattern.starts_with('^');
    if (from_start) pattern.remove_prefix(1);
    const bool to_end = pattern.ends_with('$');
    if (to_end) pattern.remove_suffix(1);
    // Both anchors are the whole name, and so is none.
    if (from_start == to_end) return name == pattern;
    return from_start ? name.starts_with(pattern) : name.ends_with(pattern);
}

}  // namespace

bool ProviderCounterSet::loadFromFile(const char *filename,
                                      std::span<const std::string> tag_names) {
    const auto lines = vrn::read_set_file(file_kind, filename, &name_);
    return lines && vrn::check_set_has_patterns(loadFromLines(*lines, tag_names), filename);
}

bool ProviderCounterSet::loadFromLines(std::span<const std::string> lines,
                                       std::span<const std::string> tag_names) {
    // "file" also when the lines come from elsewhere.
    VRN_LOG(VRN_LOG_DEBUG, "[%s] Loading cset file from lines...", line_loader);
    counter_pattern_to_alias_.clear();
    user_tags_.clear();
    for (const std::string_view raw : lines) {
        const std::string_view line = vrn::trim_set_text(raw);
        if (line.empty()) continue;
        if (line.starts_with('#'))
            add_tag(vrn::trim_set_text(line.substr(1)), tag_names);
        else
            add_line(std::string(line));
    }
    return is_initialized();
}

void ProviderCounterSet::add_tag(std::string_view comment, std::span<const std::string> tag_names) {
    for (const std::string &tag : tag_names) {
        if (!comment.starts_with(tag) || !comment.substr(tag.size()).starts_with('=')) continue;
        // A later line overwrites the value of an earlier one.
        user_tags_[tag] = vrn::trim_set_text(comment.substr(tag.size() + 1));
        return;
    }
}

void ProviderCounterSet::add_line(const std::string &line) {
    VRN_LOG(VRN_LOG_DEBUG, "[%s] Trimmed line: '%s'", line_loader, line.c_str());
    const std::size_t equals = line.find('=');
    // "x=" is refused while "=x" is a pattern without an alias. Deliberate.
    if (equals == line.size() - 1) {
        VRN_LOG(VRN_LOG_WARNING, "[%s] Invalid line: %s — missing field name or pattern after '='",
                line_loader, line.c_str());
        return;
    }
    const bool has_alias = equals != std::string::npos;
    const std::string alias(
        vrn::trim_set_text(std::string_view(line).substr(0, has_alias ? equals : 0)));
    const std::string pattern(
        vrn::trim_set_text(std::string_view(line).substr(has_alias ? equals + 1 : 0)));
    if (pattern.empty()) {
        VRN_LOG(VRN_LOG_WARNING, "[%s] Invalid line: %s — empty counter pattern", line_loader,
                line.c_str());
        return;
    }
    VRN_LOG(VRN_LOG_DEBUG, "[%s] Parsed: counter_pattern='%s', alias='%s'", line_loader,
            pattern.c_str(), alias.c_str());
    VRN_LOG(VRN_LOG_DEBUG,
            "[%s] Add mapping: counter_pattern=%s -> alias=%s (counter_pattern_to_alias_)",
            line_loader, pattern.c_str(), alias.c_str());
    counter_pattern_to_alias_[pattern] = alias;  // the last alias of a pattern counts
}

ProviderCounterSet::PatternMap::const_iterator ProviderCounterSet::find_pattern(
    std::string_view counter_name) const {
    // In byte order of the patterns: with "^a" and "abc", the alias of "^a" wins.
    return std::ranges::find_if(counter_pattern_to_alias_, [counter_name](const auto &entry) {
        return counter_matches(counter_name, entry.first);
    });
}

bool ProviderCounterSet::should_include_counter(std::string_view counter_name) const {
    return !counter_name.empty() && find_pattern(counter_name) != counter_pattern_to_alias_.end();
}

// Told at the debug level for each counter: this is where users look when an alias doesn't show.
std::string ProviderCounterSet::getCounterAlias(const std::string &counter_name) const {
    if (counter_pattern_to_alias_.empty()) {
        VRN_LOG(
            VRN_LOG_DEBUG,
            "[%s] No counter patterns defined in counter_pattern_to_alias_, return empty string",
            __func__);
        return {};
    }
    if (counter_name.empty()) {
        VRN_LOG(VRN_LOG_DEBUG, "[%s] Empty counter name, return empty string", __func__);
        return {};
    }
    const auto found = find_pattern(counter_name);
    if (found == counter_pattern_to_alias_.end()) {
        VRN_LOG(VRN_LOG_DEBUG, "[%s] Counter '%s' not found in any pattern, return empty string",
                __func__, counter_name.c_str());
        return {};
    }
    VRN_LOG(VRN_LOG_DEBUG, "[%s] Counter '%s' matches pattern '%s', return alias '%s'", __func__,
            counter_name.c_str(), found->first.c_str(), found->second.c_str());
    return found->second;
}

void ProviderCounterSet::printConfiguration() const {
    VRN_LOG(VRN_LOG_INFO, "[%s] '%s' configuration:", __func__, name_.c_str());
    VRN_LOG(VRN_LOG_INFO, "[%s] Initialized: %s", __func__, is_initialized() ? "yes" : "no");
    for (const auto &[pattern, alias] : counter_pattern_to_alias_)
        VRN_LOG(VRN_LOG_INFO, "[%s] Counter pattern: [%s], alias: [%s]", __func__, pattern.c_str(),
                alias.c_str());
    for (const auto &[tag, value] : user_tags_)
        VRN_LOG(VRN_LOG_INFO, "[%s] User tag: %s, Value: %s", __func__, tag.c_str(), value.c_str());
}
