#include "vrn_serve/series_list.h"

#include <algorithm>
#include <charconv>
#include <tuple>

#include "metrics/chart/page_text.h"

namespace vrn::serve {
namespace {

template <typename T>
std::string shortest(T value) {
    // The longest number, a double, takes 24 characters.
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

}  // namespace

std::vector<NamedSeries> list_series(const metrics::MetricsHistory &store) {
    std::vector<NamedSeries> list;
    for (const metrics::SeriesKey &key : store.series_keys()) {
        NamedSeries series = {store.symbols().lookup(key.metric_id), {}, key};
        metrics::LabelIds labels;
        if (!store.find_label_set(key.label_set, &labels)) continue;
        for (const auto &[name, value] : labels)
            series.labels.emplace_back(metrics::script_text_value(store.symbols().lookup(name)),
                                       metrics::script_text_value(store.symbols().lookup(value)));
        // A set of labels has no order of its own; output must not depend on it.
        std::ranges::sort(series.labels);
        list.push_back(std::move(series));
    }
    std::ranges::sort(list, [](const NamedSeries &a, const NamedSeries &b) {
        return std::tie(a.name, a.labels) < std::tie(b.name, b.labels);
    });
    return list;
}

std::string number_text(double value) {
    return shortest(value);
}
std::string number_text(std::uint64_t value) {
    return shortest(value);
}
std::string number_text(long value) {
    return shortest(value);
}

}  // namespace vrn::serve
