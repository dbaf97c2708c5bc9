// Whether names, sources and times are selected.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "data/compressed_page.h"
#include "data/data_file_header.h"
#include "data/schema/type_definition.h"
#include "data/selection/provider_counter_set.h"
#include "data/selection/provider_field_set.h"
#include "vrn_export/format/selection.h"

namespace vrn::exporter {

// Read only after it was made: threads may share it.
class RecordSelection {
  public:
    // Throws std::runtime_error for set files that can't be read.
    explicit RecordSelection(SelectionOptions options);

    // Selecting among events, counters or metrics leaves out the kinds without a selection.
    bool takes_events() const { return takes_events_; }
    bool takes_counters() const { return takes_counters_; }
    bool takes_metrics() const { return takes_metrics_; }

    bool takes_type(const char *name) const;
    // By a field set: `type` is the one that declares the field. `is_top` for the event's own.
    bool set_takes_field(const vrn_type_definition_t &type, const char *field, bool is_top) const;
    // By patterns: `path` is the dotted name of a field, without indexes.
    bool takes_field_path(const std::string &path) const;
    bool takes_counter(const std::string &group, const char *name) const;
    bool takes_all_metrics() const { return options_.metrics.empty(); }
    bool takes_metric(std::string_view name) const;
    bool takes_origin(std::string_view source, std::string_view tag) const;

    bool takes_all_times() const;
    bool takes_time(std::uint64_t time) const {
        return time >= options_.since && is_before_until(time);
    }
    // True when something between may be selected. A time of 0 is none, and bounds that don't rise
    // tell nothing.
    bool takes_times(std::uint64_t first, std::uint64_t last) const;

    bool takes_file(const vrn_data_file_header_t &header) const;

  private:
    // The greatest time is no bound, or records of that time would never come out.
    bool is_before_until(std::uint64_t time) const {
        return time < options_.until || options_.until == max_time;
    }

    static constexpr std::uint64_t max_time = std::numeric_limits<std::uint64_t>::max();

    SelectionOptions options_;
    vrn_provider_field_set_ptr field_set_;      // null: none
    vrn_provider_counter_set_ptr counter_set_;  // null: none
    bool takes_events_ = true;
    bool takes_counters_ = true;
    bool takes_metrics_ = true;
};

}  // namespace vrn::exporter
