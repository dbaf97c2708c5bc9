// Chooses the metrics that a store takes in.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace vrn::metrics {

enum class PatternKind : std::uint32_t {
    exact = 0,
    prefix = 1,
    suffix = 2,
    contains = 3,
};

// May be changed and asked by several threads.
class MetricFilter {
  public:
    void add_name(std::string name);

    // Patterns count only while `use_patterns` is set.
    void add_pattern(std::string pattern, PatternKind kind);
    void set_use_patterns(bool use_patterns);

    // Samples that equal the newest one of their series are dropped while set.
    void set_skip_unchanged(bool skip_unchanged);
    bool skip_unchanged() const;

    // True when a metric of this name is taken in.
    bool passes(const std::string &name) const;

  private:
    struct Pattern {
        std::string text;
        PatternKind kind;
    };
    static bool matches(const Pattern &pattern, std::string_view name);

    mutable std::mutex mutex_;
    std::unordered_set<std::string> names_;
    std::vector<Pattern> patterns_;
    bool use_patterns_ = false;
    bool skip_unchanged_ = false;
};

}  // namespace vrn::metrics
