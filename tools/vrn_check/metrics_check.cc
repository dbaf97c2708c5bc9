#include "vrn_check/metrics_check.h"

#include <stdexcept>

#include "metrics/labels_walk.h"
#include "metrics/section_mark.h"
#include "scan/block_walk.h"

namespace vrn::check {
namespace {

using metrics::RecordView;

constexpr std::string_view block_mark = "CNTX";
constexpr std::size_t block_head_size = block_mark.size() + sizeof(std::uint32_t);

// Looks for the first label value that the block's table doesn't have.
struct LabelIdSink {
    std::size_t num_values;
    std::string fault{};

    void id(std::size_t /*index*/, std::uint8_t id) {
        if (id >= num_values && fault.empty())
            fault = "A record names label value " + std::to_string(id) + " of " +
                    std::to_string(num_values);
    }
    void text(std::size_t /*index*/, std::string_view /*text*/) {}
};

}  // namespace

void MetricsCheck::check(Bytes bytes) {
    run_ = bytes;
    for (Bytes rest = bytes; !scan::is_all_zero(rest);) {
        const Bytes mark = metrics::find_mark(rest, block_mark);
        const std::size_t gap = rest.size() - mark.size();
        if (gap > 0 && !scan::is_all_zero(rest.first(gap)))
            findings_.fault(offset_of(rest.data()), gap, "not_a_block",
                            "No metrics block where one could begin");
        if (mark.empty()) return;
        const std::uint32_t size = metrics::read_total_size(mark);
        const bool is_whole = size >= block_head_size && size <= mark.size();
        if (is_whole)
            check_block(mark.first(size));
        else
            findings_.fault(offset_of(mark.data()), mark.size(), "block_cut",
                            "A metrics block claims " + std::to_string(size) + " bytes of " +
                                std::to_string(mark.size()));
        // Without its size nothing tells where the next one begins.
        if (!is_whole) return;
        rest = mark.subspan(size);
    }
}

void MetricsCheck::check_block(Bytes block) {
    try {
        view_.read(block, block);
    } catch (const std::exception &error) {
        findings_.fault(offset_of(block.data()), block.size(), "metrics_block", error.what());
        return;
    }
    check_records(block);
}

void MetricsCheck::check_records(Bytes block) {
    // Where the record begins: the scan hands over its parts only.
    const std::uint8_t *place = view_.records.base.data() + sizeof view_.records.blocksize;
    try {
        metrics::scan_records(view_.records, [&](const RecordView &record) {
            LabelIdSink labels = {view_.label_values.size()};
            const std::size_t size =
                metrics::walk_label_values(record.labels, record.label_values, labels);
            std::string fault = names_beyond_tables(record);
            if (fault.empty()) fault = std::move(labels.fault);
            const std::uint8_t *end = record.label_values.data() + size;
            // Labels go by lengths of their own, which may lead out of the section.
            if (end > view_.records.base.data() + view_.records.end_offset)
                throw std::runtime_error("A record goes on after the end of the records");
            if (!fault.empty())
                findings_.fault(offset_of(place), static_cast<std::size_t>(end - place),
                                "metrics_names", std::move(fault));
            findings_.time(offset_of(place), record.timestamp);
            place = end;
            return size;
        });
    } catch (const std::exception &error) {
        const std::uint8_t *end = block.data() + block.size();
        findings_.fault(offset_of(place), static_cast<std::size_t>(end - place), "metrics_record",
                        error.what());
    }
}

// Empty when all that the record names is in the tables of its block.
std::string MetricsCheck::names_beyond_tables(const RecordView &record) const {
    if (record.labels.label_set_id >= view_.label_sets.size())
        return "A record names label set " + std::to_string(record.labels.label_set_id) + " of " +
               std::to_string(view_.label_sets.size());
    const std::size_t names = view_.label_sets[record.labels.label_set_id].count;
    if (record.labels.count > names)
        return "A record has " + std::to_string(record.labels.count) + " labels for " +
               std::to_string(names) + " names";
    for (std::size_t i = 0; i < record.num_samples(); ++i)
        if (const auto id = record.sample(i).sample_id; id >= view_.metric_names.size())
            return "A record names metric " + std::to_string(id) + " of " +
                   std::to_string(view_.metric_names.size());
    return "";
}

std::size_t MetricsCheck::offset_of(const std::uint8_t *place) const {
    return static_cast<std::size_t>(place - run_.data());
}

}  // namespace vrn::check
