// Input: a stream of CNTX blocks, for the walk that counts its metrics.
#include "metrics/metrics_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    vrn::metrics::MetricCounts counts;
    vrn::metrics::VrnMetricsParser::count_metrics_from_cntx_blocks({data, size}, &counts);
    return 0;
}
