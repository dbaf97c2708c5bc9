#include "scan/metrics_walk.h"

#include <stdexcept>
#include <utility>

#include "metrics/labels_walk.h"
#include "metrics/section_mark.h"
#include "metrics/table_sections.h"
#include "scan/block_walk.h"

namespace vrn::scan {
namespace {

using metrics::RecordView;

constexpr std::string_view block_mark = "CNTX";
constexpr std::size_t block_head_size = block_mark.size() + sizeof(std::uint32_t);

// Finds the first label value that the block's table doesn't have. See walk_label_values().
struct LabelIdCheck {
    std::size_t num_values;
    std::size_t bad_id = 0;
    bool has_bad_id = false;

    void id(std::size_t /*index*/, std::uint8_t id) {
        if (id < num_values || has_bad_id) return;
        bad_id = id;
        has_bad_id = true;
    }
    void text(std::size_t /*index*/, std::string_view /*text*/) {}
};

std::string count_of(const char *what, std::size_t number, std::size_t all) {
    return what + std::to_string(number) + " of " + std::to_string(all);
}

}  // namespace

void split_metrics(Bytes run, const std::function<void(Bytes block)> &visit,
                   const MetricsFindings::Fault &fault) {
    const auto offset_of = [&](Bytes place) { return run.size() - place.size(); };
    for (Bytes rest = run; !is_all_zero(rest);) {
        const Bytes mark = metrics::find_mark(rest, block_mark);
        const std::size_t gap = rest.size() - mark.size();
        if (gap > 0 && !is_all_zero(rest.first(gap)))
            fault(offset_of(rest), gap, "not_a_block", "No metrics block where one could begin");
        if (mark.empty()) return;
        const std::uint32_t size = metrics::read_total_size(mark);
        // A size below the head's would never get on; after a wrong one no place is known to begin
        // a block.
        if (size < block_head_size || size > mark.size())
            return fault(offset_of(mark), mark.size(), "block_cut",
                         "A metrics block claims " + std::to_string(size) + " bytes of " +
                             std::to_string(mark.size()));
        visit(mark.first(size));
        rest = mark.subspan(size);
    }
}

void MetricsWalk::walk(Bytes run) {
    run_ = run;
    split_metrics(
        run,
        [this](Bytes block) {
            if (read_tables(block) && findings_.tables(tables_)) walk_records(block);
        },
        findings_.fault);
}

bool MetricsWalk::read_tables(Bytes block) {
    try {
        tables_.view.read(block, block);
        metrics::read_string_section(block, "CLBL", "clbl", &tables_.constants);
        return true;
    } catch (const std::runtime_error &error) {
        findings_.fault(offset_of(block.data()), block.size(), "metrics_block", error.what());
        return false;
    }
}

void MetricsWalk::walk_records(Bytes block) {
    const metrics::RecordSection &records = tables_.view.records;
    // Where the record at hand begins; known also when the scan throws.
    const std::uint8_t *place = records.base.data() + sizeof records.blocksize;
    try {
        metrics::scan_records(records, [&](const RecordView &record) {
            LabelIdCheck ids{tables_.view.label_values.size()};
            const std::size_t size =
                metrics::walk_label_values(record.labels, record.label_values, ids);
            const std::uint8_t *end = record.label_values.data() + size;
            // Labels go by lengths of their own, which may lead out of the section.
            if (end > records.base.data() + records.end_offset)
                throw std::runtime_error("A record goes on after the end of the records");
            std::string fault = beyond_tables(record);
            if (fault.empty() && ids.has_bad_id)
                fault = count_of("A record names label value ", ids.bad_id, ids.num_values);
            if (fault.empty())
                findings_.record(offset_of(place), record);
            else
                findings_.fault(offset_of(place), static_cast<std::size_t>(end - place),
                                "metrics_names", std::move(fault));
            place = end;
            return size;
        });
    } catch (const std::runtime_error &error) {
        const std::uint8_t *end = block.data() + block.size();
        findings_.fault(offset_of(place), static_cast<std::size_t>(end - place), "metrics_record",
                        error.what());
    }
}

// Empty when the tables have all names that the record needs.
std::string MetricsWalk::beyond_tables(const RecordView &record) const {
    const auto &sets = tables_.view.label_sets;
    const metrics::LabelsHeader &labels = record.labels;
    const std::size_t names =
        labels.label_set_id < sets.size() ? sets[labels.label_set_id].count : 0;
    if (labels.count > names)
        return "A record has " + std::to_string(labels.count) + " labels for " +
               std::to_string(names) + " names";
    const std::size_t num_metrics = tables_.view.metric_names.size();
    for (std::size_t i = 0; i < record.num_samples(); ++i)
        if (const auto id = record.sample(i).sample_id; id >= num_metrics)
            return count_of("A record names metric ", id, num_metrics);
    return "";
}

}  // namespace vrn::scan
