// The series of a store as statements of the chart page's script.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "data/text/text_buffer.h"
#include "metrics/store/metrics_catalog.h"
#include "metrics/store/value_types.h"

namespace vrn::metrics {

inline constexpr std::uint64_t VISUAL_CHART_WIDTH_PX = 2000;
inline constexpr std::uint64_t VISUAL_POINT_HOVER_RADIUS = 6;  // pixels
inline constexpr std::uint64_t VISUAL_MIN_POINT_SPACING = 2;   // pixels

// Points of a series that such a chart can show apart, and those kept for zooming into it.
inline constexpr std::uint64_t VISUAL_DATA_POINTS =
    VISUAL_CHART_WIDTH_PX / (2 * VISUAL_POINT_HOVER_RADIUS + VISUAL_MIN_POINT_SPACING);
inline constexpr std::uint64_t ORIGINAL_DATA_POINTS = 3 * VISUAL_DATA_POINTS;
static_assert(VISUAL_DATA_POINTS == 142 && ORIGINAL_DATA_POINTS == 426);

// `target` indices spread evenly over `count` elements, the first and the last among them; all when
// there are no more than `target`. Below 3, only the ends.
std::vector<std::size_t> thin_indices(std::size_t count, std::size_t target);

// "name=value" of each label in map order, with ", " between them.
std::string chart_label_text(const MetricsCatalog &catalog, const LabelIds &labels);

// Writes the detailed and the visual dataset of a series. Values that are no numbers write nothing.
void write_chart_datasets(std::ostream &out, std::uint64_t metric_id, const std::string &label_text,
                          const Samples &samples);

// Appends the detailed points of a series as a JSON object; see write_chart_points(). The values
// are numbers.
void append_chart_points(const std::string &label_text, const Samples &samples, TextBuffer *text);

}  // namespace vrn::metrics
