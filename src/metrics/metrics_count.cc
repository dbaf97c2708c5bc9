#include "metrics/metrics_count.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "metrics/cntx_block_tables.h"
#include "metrics/labels_block.h"
#include "metrics/metrics_batch.h"
#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// "CNTX" and the size.
constexpr std::size_t block_header_size = 8;
// 1 GiB. A larger size is taken for damage: the search goes on within the block.
constexpr std::uint32_t max_block_size = 0x40000000;

// `samples` holds `num_samples` packed samples.
void count_samples(ByteReader samples, std::size_t num_samples,
                   const std::vector<std::string> &metric_names, MetricCounts *counts) {
    for (std::size_t i = 0; i < num_samples; ++i) {
        MetricSample sample;
        if (!samples.read(&sample)) {
            VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] Sample %zu exceeds buffer bounds", i);
            return;
        }
        const std::size_t id = sample.sample_id;
        if (id >= metric_names.size()) {
            VRN_LOG(VRN_LOG_WARNING,
                    "[vrn metrics parser] Invalid metric_id %zu (max: %zu), skipping", id,
                    metric_names.size());
            // The other samples of the record are as good as before.
            continue;
        }
        ++(*counts)[metric_names[id]];
    }
}

// Finds the packed samples of `record`, whose header is complete. False, after a line, when the
// record has none or they leave it.
bool find_samples(Bytes record, std::size_t *num_samples, Bytes *samples) {
    *num_samples = load_le<std::uint16_t>(record.data() + RECORD_NUM_SAMPLES_OFFSET);
    if (*num_samples == 0) {
        VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Empty metrics batch, skipping");
        return false;
    }
    const std::size_t max = (record.size() - RECORD_HEADER_SIZE) / sizeof(MetricSample);
    if (*num_samples > max) {
        VRN_LOG(VRN_LOG_WARNING,
                "[vrn metrics parser] num_samples %zu exceeds available data (max: %zu)",
                *num_samples, max);
        return false;
    }
    ByteReader reader(record.subspan(RECORD_HEADER_SIZE));
    // By the check above the samples are there; the line stays as the last guard.
    if (!reader.bytes(*num_samples * sizeof(MetricSample), samples)) {
        VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] Insufficient data for metrics samples");
        return false;
    }
    return true;
}

// Offset of what follows the labels block at `labels_offset`; 0, after a line, when it is
// malformed.
std::uint64_t end_of_labels(Bytes data, std::uint64_t labels_offset) {
    // The labels are of no use here; only where they end is.
    std::uint64_t label_set_id = 0;
    std::vector<EncodedLabel> labels;
    try {
        return parse_labels_block(data, labels_offset, &label_set_id, &labels,
                                  "VrnMetricsParser::count_metrics_from_cntx_blocks");
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_WARNING,
                "[vrn metrics parser] Could not parse labels block for counting: %s", error.what());
        return 0;
    }
}

// Counts the record that starts both `record`, which bounds its samples, and `labels_data`, which
// bounds its labels. Returns the bytes it takes; 0 when the walk can't go on after it.
std::uint64_t count_record(Bytes record, Bytes labels_data,
                           const std::vector<std::string> &metric_names, MetricCounts *counts) {
    std::size_t num_samples = 0;
    Bytes samples;
    if (!find_samples(record, &num_samples, &samples)) return 0;
    count_samples(ByteReader(samples), num_samples, metric_names, counts);
    return end_of_labels(labels_data, RECORD_HEADER_SIZE + samples.size());
}

// `base` begins with the blocksize and ends with the block; its records end at `end_offset`.
void count_records(Bytes base, std::size_t end_offset, const std::vector<std::string> &metric_names,
                   MetricCounts *counts) {
    const auto blocksize = load_le<std::uint32_t>(base.data());
    std::size_t offset = sizeof blocksize;
    // Other than the walks to JSON and to a store, this one never takes the trailer for a record.
    while (offset < end_offset && end_offset - offset >= RECORD_HEADER_SIZE) {
        const Bytes rest = base.subspan(offset);
        const std::uint64_t size = count_record(
            rest.first(end_offset - offset),
            rest.first(std::min<std::size_t>(blocksize, rest.size())), metric_names, counts);
        if (size == 0) return;
        offset += size;
    }
}

// True when the block counts as one; false after a line. Throws when its tables are malformed.
bool count_block(Bytes block, MetricCounts *counts) {
    const CntxBlockTables tables = CntxBlockTables::parse(block);
    const Bytes section = find_mark(block, "CNTD");
    if (section.empty()) {
        VRN_LOG(VRN_LOG_WARNING,
                "[vrn metrics parser] No CNTD section found in CNTX block, skipping");
        return false;
    }
    if (!is_closed_by(section, TRAILER)) {
        VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] Invalid magic numbers in CNTX block");
        return false;
    }
    // The two marks differ, so they don't overlap and the section has at least 12 bytes.
    const Bytes base = section.subspan(MARK_SIZE);
    const std::size_t end_offset = base.size() - TRAILER.size();
    if (end_offset < sizeof(std::uint32_t)) {
        VRN_LOG(VRN_LOG_WARNING,
                "[vrn metrics parser] Insufficient data for blocksize in CNTX block");
        return false;
    }
    // Deliberate: a fault in its records ends the block early, which counts all the same.
    count_records(base, end_offset, tables.metric_names, counts);
    return true;
}

// One more than `blocks` is the number of the block in the lines.
bool try_count_block(Bytes block, std::size_t blocks, MetricCounts *counts) {
    try {
        if (!count_block(block, counts)) return false;
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_WARNING,
                "[vrn metrics parser] Could not count metrics from CNTX block %zu: %s", blocks + 1,
                error.what());
        return false;
    }
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] Counted metrics from CNTX block %zu", blocks + 1);
    return true;
}

// Number of blocks counted.
std::size_t count_blocks(Bytes range, MetricCounts *counts) {
    std::size_t blocks = 0;
    Bytes rest = range;
    for (Bytes hit = find_mark(rest, "CNTX"); !hit.empty(); hit = find_mark(rest, "CNTX")) {
        if (hit.size() < block_header_size) {
            VRN_LOG(VRN_LOG_WARNING,
                    "[vrn metrics parser] Insufficient data for CNTX block header");
            break;
        }
        const auto total_size = load_le<std::uint32_t>(hit.data() + MARK_SIZE);
        if (total_size == 0 || total_size > max_block_size) {
            VRN_LOG(VRN_LOG_WARNING, "[vrn metrics parser] Invalid block size %u in CNTX block",
                    total_size);
            rest = hit.subspan(block_header_size);
            continue;
        }
        const std::size_t size = std::min<std::size_t>(total_size, hit.size());
        // A size past the end of the buffer is cut, as blocks may be.
        if (try_count_block(hit.first(size), blocks, counts)) ++blocks;
        rest = hit.subspan(size);
    }
    return blocks;
}

}  // namespace

bool count_metrics(Bytes range, MetricCounts *counts) {
    try {
        // What was counted before memory ran out must not stay.
        MetricCounts counted = *counts;
        const std::size_t blocks = count_blocks(range, &counted);
        *counts = std::move(counted);
        VRN_LOG(VRN_LOG_DEBUG,
                "[vrn metrics parser] Counted metrics from %zu CNTX blocks, found %zu unique "
                "metrics",
                blocks, counts->size());
        return blocks > 0;
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] Failed to count metrics from CNTX blocks: %s",
                error.what());
        return false;
    }
}

}  // namespace vrn::metrics
