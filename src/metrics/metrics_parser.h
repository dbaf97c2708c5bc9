// Reader of CNTX blocks. A block carries its own tables of label names, label values and metric
// names, and a run of records that refer to them by small numbers:
//
//   "CNTX", u32 total_size
//   "LBLN" label names, one section per label set, numbered from 0
//   "LBLV" label values
//   "CNTI" metric names
//   "HIST" histograms
//   "CLBL" constant labels
//   "CNTD", u32 blocksize, metric records
//   "cntdcntx"
//
// Ranges are borrowed. No operation reads outside the range that it is given: what leads outside
// ends the block with std::runtime_error.
#pragma once

#include <boost/any.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "metrics/cntx_block_tables.h"
#include "metrics/metric_filter.h"
#include "metrics/metrics_batch.h"
#include "metrics/metrics_count.h"
#include "utils/byte_reader.h"

namespace vrn::metrics {

// The roads from blocks to JSON, to counts and to a store. The code stands with what it is about;
// the feed of a store, a layer above, in store/metrics_feed.cc.
class VrnMetricsParser {
  public:
    // `total_size` of the first block; 0 when there is no "CNTX". Bytes that the range lacks read
    // as zeros.
    static std::uint32_t find_cntx_total_size(Bytes range);

    // Decodes a block without its histograms and constant labels. Throws std::runtime_error when
    // the block is malformed.
    static void parse_cntx_block(Bytes block, LabelNames *label_names,
                                 std::vector<std::string> *label_values,
                                 std::vector<std::string> *metric_names,
                                 std::vector<MetricRecord> *records);

    // The records of the "CNTD" section, which ends with `range`.
    static std::vector<MetricRecord> parse_metrics(Bytes range);

    // The tables of a block; see cntx_block_tables.h.
    static Bytes parse_label_names(Bytes range, LabelNames *label_names);
    static Bytes parse_string_section(Bytes range, std::string_view prefix, std::string_view suffix,
                                      std::vector<std::string> *strings);
    static Bytes parse_label_values_section(Bytes range, std::vector<std::string> *label_values);
    static Bytes parse_metric_names_section(Bytes range, std::vector<std::string> *metric_names);
    static LabelMap parse_constant_labels(Bytes range);
    static Bytes parse_histogram_sections(Bytes range, const std::vector<std::string> &label_values,
                                          HistogramSet *histograms);

    // The fields of the record that starts `record`: "length" (u16), "timestamp" (u64),
    // "num_samples" (u64), "metrics" (MetricsBatch) and "type" (string).
    static std::map<std::string, boost::any> parse_record_header(Bytes record);

    // Head and samples of the record that starts `record`, as a store takes them: the metric type
    // is 'C' or 'G', the labels are not read. Returns the timestamp; 0 is taken after an error
    // line. Throws std::runtime_error for another type.
    static std::uint64_t decode_record_header(Bytes record, StoreRecord *fields);

    // Stores the histograms and samples of all blocks in `range`, which ends the search for blocks.
    // A block that is malformed is given up with a warning, with what was stored before the fault.
    // Returns the bytes that follow the last block. `filter`, which may be null, chooses the
    // metrics that are new to the store. `Store` is one of the two MetricsStore.
    template <typename Store>
    static Bytes parse_cntx_blocks_into_store(Bytes range, const MetricFilter *filter,
                                              Store *store);

    // Adds to `counts` how often each metric name occurs in the records of all blocks in `range`.
    // Malformed blocks are passed over with a warning. True when at least one block was counted;
    // on a fatal failure `counts` stays as it was.
    [[nodiscard]] static bool count_metrics_from_cntx_blocks(Bytes range, MetricCounts *counts);
};

}  // namespace vrn::metrics
