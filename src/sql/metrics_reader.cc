#include "sql/metrics_reader.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "metrics/labels_walk.h"
#include "metrics/table_sections.h"
#include "scan/metrics_walk.h"

namespace vrn::sql {
namespace {

constexpr std::size_t no_set = std::numeric_limits<std::size_t>::max();
// Constants count for each record: a small block could ask for endless labels.
constexpr std::size_t free_labels = 1 << 20;
constexpr std::size_t labels_per_byte = 16;

}  // namespace

scan::Next MetricsReader::metrics(const scan::PlainBlock &block) {
    if (!takes_record(block.place)) return scan::Next::block;
    // Kept whole, since the cursor reads its blocks after the walk has gone on.
    const Bytes run = {keep(block.bytes.data()), block.bytes.size()};
    scan::split_metrics(
        run,
        [&](Bytes found) {
            blocks_.push_back({found, names()});
        },
        [&](std::size_t, std::size_t, const char *, const std::string &reason) {
            report_fault(path(), reason);
        });
    return scan::Next::block;
}

void MetricsCursor::begin(Bytes block) {
    view_.read(block, block);
    read_constants(block);
    // Ids of label sets count within a block: what was read of the last block's set is worth
    // nothing.
    set_id_ = no_set;
    // The records follow the size of their section.
    offset_ = sizeof view_.records.blocksize;
    labels_left_ = free_labels + block.size() * labels_per_byte;
}

void MetricsCursor::read_constants(Bytes block) {
    std::vector<std::string_view> texts;
    metrics::read_string_section(block, "CLBL", "clbl", &texts);
    constants_.clear();
    constant_places_.clear();
    // Of two equal names the last counts.
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
        const auto [place, is_new] = constant_places_.try_emplace(texts[i], constants_.size());
        if (is_new)
            constants_.emplace_back(texts[i], texts[i + 1]);
        else
            constants_[place->second].second = texts[i + 1];
    }
}

bool MetricsCursor::next() {
    if (offset_ >= view_.records.end_offset) return false;
    fault_.clear();
    const Bytes rest = view_.records.base.subspan(offset_);
    header_ = metrics::read_record_header(rest);
    record_ = metrics::read_record(rest, view_.records);
    const std::size_t labels_size = read_labels();
    // Labels come last in a record and have no size of their own: where they end the next record
    // begins.
    offset_ = static_cast<std::size_t>(record_.label_values.data() - view_.records.base.data()) +
              labels_size;
    return true;
}

std::size_t MetricsCursor::read_labels() {
    struct Sink {
        MetricsCursor &cursor;
        void id(std::size_t index, std::uint8_t id) {
            const auto &values = cursor.view_.label_values;
            if (id < values.size()) return cursor.set_label(index, values[id]);
            cursor.fault_ = "A record names label value " + std::to_string(id) + " of " +
                            std::to_string(values.size());
        }
        void text(std::size_t index, std::string_view text) { cursor.set_label(index, text); }
    };
    // Before any label is copied; a record costs its constants even without labels of its own.
    if (constants_.size() + record_.labels.count > labels_left_)
        throw std::runtime_error("A metrics block has too many labels");
    labels_left_ -= constants_.size() + record_.labels.count;
    // Records of one set mostly follow each other. A set that the block lacks has no names, so that
    // its labels are told as a fault.
    if (set_id_ != record_.labels.label_set_id) {
        set_id_ = record_.labels.label_set_id;
        set_names_.clear();
        if (set_id_ < view_.label_sets.size()) {
            ByteReader names(view_.label_sets[set_id_].names);
            std::string_view name;
            while (set_names_.size() < view_.label_sets[set_id_].count &&
                   metrics::read_string(names, &name))
                set_names_.push_back(name);
        }
    }
    labels_ = constants_;
    Sink sink = {*this};
    return metrics::walk_label_values(record_.labels, record_.label_values, sink);
}

void MetricsCursor::set_label(std::size_t index, std::string_view value) {
    if (index >= set_names_.size()) {
        fault_ =
            "A record has more labels than its label set " + std::to_string(set_id_) + " has names";
        return;
    }
    const std::string_view name = set_names_[index];
    const auto constant = constant_places_.find(name);
    if (constant != constant_places_.end()) {
        labels_[constant->second].second = value;
        return;
    }
    // A set may repeat a name; the last value counts, as for constants. Sets are small: a search
    // beats a map.
    const auto own = labels_.begin() + static_cast<std::ptrdiff_t>(constants_.size());
    const auto known =
        std::find_if(own, labels_.end(), [&](const auto &label) { return label.first == name; });
    if (known == labels_.end())
        labels_.emplace_back(name, value);
    else
        known->second = value;
}

}  // namespace vrn::sql
