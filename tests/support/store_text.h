// What a metrics store holds, as text.
#pragma once

#include <algorithm>
#include <sstream>

#include "metrics/store/typed_metrics_data.h"
#include "support/test.h"

namespace vrn::metrics {

inline std::ostream &operator<<(std::ostream &out, const HistogramBuckets &value) {
    return out << value.buckets.size() << "/" << value.count;
}

}  // namespace vrn::metrics

namespace vrn::test {

// "name{labels} type timestamp=value ..." of each series, sorted; histograms as "buckets/count".
template <typename Store>
Lines shown(const Store &store) {
    Lines lines;
    store.any_table([&](const auto &table) {
        for (const auto &[id, series_by_labels] : table.metrics)
            for (const auto &[label_set, series] : series_by_labels) {
                std::ostringstream line;
                line << store.symbols().lookup(id) << "{" << store.label_text(label_set) << "} "
                     << static_cast<char>(series.metric_type);
                for (std::uint64_t i = 0; i < series.values.size(); ++i)
                    line << " " << series.timestamps[i] << "=" << series.values[i];
                lines.push_back(line.str());
            }
        return false;
    });
    std::ranges::sort(lines);
    return lines;
}

}  // namespace vrn::test
