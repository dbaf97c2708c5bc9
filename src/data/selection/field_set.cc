#include "data/selection/field_set.h"

#include <algorithm>

#include "data/selection/set_file.h"
#include "data/selection/token_filter.h"
#include "utils/log.h"
#include "utils/strings.h"

namespace {

constexpr vrn::SetFileKind file_kind{"ProviderFieldSet", "field set", "fset"};

// Only a final '*' is special; a lone one takes every type.
bool type_matches(std::string_view name, std::string_view pattern) {
    if (pattern.ends_with('*')) return name.starts_with(pattern.substr(0, pattern.size() - 1));
    return name == pattern;
}

// A head without its closing bracket is a field pattern that fits nothing.
bool is_head(std::string_view line) {
    return line.starts_with('[') && line.ends_with(']');
}

bool selects_all(const auto &sections) {
    return std::ranges::all_of(sections, [](const auto &part) { return part.fields->empty(); });
}

bool selects_field(const auto &sections, const char *field_name) {
    const auto fits = [field_name](const std::string &pattern) {
        // A pattern is cut to what a token holds.
        vrn_filter_token_t token;
        vrn_copy_bounded(token, sizeof token, pattern.data(), pattern.size());
        return vrn_filter_token_match(field_name, token);
    };
    // A type without field lines is wanted whole.
    return selects_all(sections) || std::ranges::any_of(sections, [&](const auto &part) {
               return std::ranges::any_of(*part.fields, fits);
           });
}

}  // namespace

bool ProviderFieldSet::loadFromFile(const char *filename) {
    const auto lines = vrn::read_set_file(file_kind, filename, &name_);
    return lines && vrn::check_set_has_patterns(loadFromLines(*lines), filename);
}

bool ProviderFieldSet::loadFromLines(std::span<const std::string> lines) {
    type_patterns_.clear();
    // Lines before the first head, and below an empty one, reach no type.
    auto fields = std::make_shared<FieldPatterns>();
    for (const std::string_view raw : lines) {
        const std::string_view line = vrn::trim_set_text(raw);
        if (line.empty() || line.starts_with('#')) continue;
        if (!is_head(line)) {
            fields->emplace_back(line);
            continue;
        }
        // All types of a head share one list, which the lines that follow still fill.
        fields = std::make_shared<FieldPatterns>();
        add_head(line.substr(1, line.size() - 2), fields);
    }
    return is_initialized();
}

void ProviderFieldSet::add_head(std::string_view inside,
                                const std::shared_ptr<FieldPatterns> &fields) {
    while (!inside.empty()) {
        const std::string_view piece = inside.substr(0, inside.find(','));
        inside.remove_prefix(std::min(piece.size() + 1, inside.size()));
        const std::string_view pattern = vrn::trim_set_text(piece);
        if (pattern.empty()) continue;
        // An entry is made even without field lines: it then selects all fields of the type.
        TypeSections &sections = type_patterns_[std::string(pattern)];
        if (!sections.empty() && sections.back().fields == fields)
            ++sections.back().times;
        else
            sections.push_back({fields, 1});
    }
}

bool ProviderFieldSet::is_type_of_interest(std::string_view type_name) const {
    // [default] takes no part: a type that only it would cover is dropped here already. Deliberate.
    return std::ranges::any_of(type_patterns_, [type_name](const auto &entry) {
        return type_matches(type_name, entry.first);
    });
}

bool ProviderFieldSet::should_include_field(std::string_view type_name,
                                            const char *field_name) const {
    bool type_matched = false;
    for (const auto &[pattern, sections] : type_patterns_) {
        if (type_name.empty() || !type_matches(type_name, pattern)) continue;
        if (selects_field(sections, field_name)) return true;
        type_matched = true;
    }
    // A section that names the type is final: [default] can't add what it leaves out.
    if (type_matched) return false;
    // By its key: a pattern such as "def*" is no fallback.
    const auto fallback = type_patterns_.find("default");
    return fallback != type_patterns_.end() && selects_field(fallback->second, field_name);
}

void ProviderFieldSet::printConfiguration() const {
    VRN_LOG(VRN_LOG_INFO, "[%s] '%s' configuration:", __func__, name_.c_str());
    VRN_LOG(VRN_LOG_INFO, "[%s]  Initialized: %s", __func__, is_initialized() ? "yes" : "no");
    for (const auto &[pattern, sections] : type_patterns_) {
        VRN_LOG(VRN_LOG_INFO, "[%s]  Type pattern: [%s]", __func__, pattern.c_str());
        for (const Section &section : sections) print_section(section);
    }
}

void ProviderFieldSet::print_section(const Section &section) {
    for (const std::string &field : *section.fields)
        for (std::size_t i = 0; i < section.times; ++i)
            VRN_LOG(VRN_LOG_INFO, "[%s]    %s", "printConfiguration", field.c_str());
}
