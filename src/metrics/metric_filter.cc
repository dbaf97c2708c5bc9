#include "metrics/metric_filter.h"

#include <algorithm>
#include <utility>

namespace vrn::metrics {

void MetricFilter::add_name(std::string name) {
    const std::lock_guard guard(mutex_);
    names_.insert(std::move(name));
}

void MetricFilter::add_pattern(std::string pattern, PatternKind kind) {
    const std::lock_guard guard(mutex_);
    patterns_.push_back({std::move(pattern), kind});
}

void MetricFilter::set_use_patterns(bool use_patterns) {
    const std::lock_guard guard(mutex_);
    use_patterns_ = use_patterns;
}

void MetricFilter::set_skip_unchanged(bool skip_unchanged) {
    const std::lock_guard guard(mutex_);
    skip_unchanged_ = skip_unchanged;
}

bool MetricFilter::skip_unchanged() const {
    const std::lock_guard guard(mutex_);
    return skip_unchanged_;
}

bool MetricFilter::passes(const std::string &name) const {
    // The owner may change the filter while a feed asks it.
    const std::lock_guard guard(mutex_);
    if (names_.contains(name)) return true;
    return use_patterns_ &&
           std::ranges::any_of(patterns_, [&](const Pattern &p) { return matches(p, name); });
}

bool MetricFilter::matches(const Pattern &pattern, std::string_view name) {
    switch (pattern.kind) {
        case PatternKind::exact:
            return name == pattern.text;
        case PatternKind::prefix:
            return name.starts_with(pattern.text);
        case PatternKind::suffix:
            return name.ends_with(pattern.text);
        case PatternKind::contains:
            return name.find(pattern.text) != std::string_view::npos;
    }
    return false;
}

}  // namespace vrn::metrics
