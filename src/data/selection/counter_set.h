// Counters that a user wants to see and their aliases, as read from a counter set file (.cset).
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

// Each line is "pattern" or "alias=pattern". Empty until loaded; each load replaces the entries.
// Plain code reaches it through provider_counter_set.h.
class ProviderCounterSet {
  public:
    // Also sets the name. Comment lines "# tag = value" of the tags named are kept; the first tag
    // that fits a line takes it. False after one line.
    [[nodiscard]] bool loadFromFile(const char *filename,
                                    std::span<const std::string> tag_names = {});
    // False when the lines hold no counter pattern.
    [[nodiscard]] bool loadFromLines(std::span<const std::string> lines,
                                     std::span<const std::string> tag_names = {});

    const std::string &name() const { return name_; }
    bool is_initialized() const { return !counter_pattern_to_alias_.empty(); }
    const std::unordered_map<std::string, std::string> &user_tags() const { return user_tags_; }

    bool should_include_counter(std::string_view counter_name) const;
    // Alias of the first pattern that matches, in byte order; may be empty, as without a match.
    std::string getCounterAlias(const std::string &counter_name) const;

    // Logs the entries at level 6.
    void printConfiguration() const;

  private:
    using PatternMap = std::map<std::string, std::string>;

    PatternMap::const_iterator find_pattern(std::string_view counter_name) const;
    void add_tag(std::string_view comment, std::span<const std::string> tag_names);
    void add_line(const std::string &line);

    std::string name_;
    PatternMap counter_pattern_to_alias_;
    std::unordered_map<std::string, std::string> user_tags_;
};
