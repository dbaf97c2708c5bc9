// OpenMetrics or Prometheus text: how we are, and the newest value of each series.
#pragma once

#include <cstdint>
#include <string>

#include "vrn_serve/follower.h"
#include "vrn_serve/live_store.h"

namespace vrn::serve {

// How the text is written: what Prometheus asks for, or what its older tools read.
enum class MetricsForm : std::uint8_t { open_metrics, plain };

const char *content_type_of(MetricsForm form);

// Names of metrics and labels with "_" for what they may not hold here. Where that makes two into
// one, the later one has a further "_" or a label "series".
std::string metrics_text(const LiveStore &store, const FollowState &files, MetricsForm form);

}  // namespace vrn::serve
