// Event types and fields that a user wants to see, as read from a field set file (.fset).
#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Section heads name type patterns, the lines below them field patterns. Empty until loaded; each
// load replaces the entries. Plain code reaches it through provider_field_set.h.
class ProviderFieldSet {
  public:
    // Also sets the name. False after one line.
    [[nodiscard]] bool loadFromFile(const char *filename);
    // False when the lines hold no type pattern.
    [[nodiscard]] bool loadFromLines(std::span<const std::string> lines);

    const std::string &name() const { return name_; }
    bool is_initialized() const { return !type_patterns_.empty(); }

    // True if any section names the type; [default] is not asked.
    bool is_type_of_interest(std::string_view type_name) const;
    // Asks the sections that name the type or, when there are none, [default].
    bool should_include_field(std::string_view type_name, const char *field_name) const;

    // Logs the entries at level 6.
    void printConfiguration() const;

  private:
    using FieldPatterns = std::vector<std::string>;
    // The lines of one section, shared by all types of its head: a file of n bytes can name n types
    // and n fields, and n * n copies would not fit.
    struct Section {
        std::shared_ptr<FieldPatterns> fields;
        std::size_t times;  // how often the head repeats the type
    };
    // Field patterns of one type; all fields when there are none.
    using TypeSections = std::vector<Section>;

    void add_head(std::string_view inside, const std::shared_ptr<FieldPatterns> &fields);
    static void print_section(const Section &section);

    std::string name_;
    std::map<std::string, TypeSections> type_patterns_;
};
