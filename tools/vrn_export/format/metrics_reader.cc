#include "vrn_export/format/metrics_reader.h"

#include <algorithm>
#include <exception>

#include "metrics/labels_walk.h"
#include "metrics/section_mark.h"

namespace vrn::exporter {
namespace {

using metrics::RecordView;

// As records have them on disk; all other values are unsigned.
constexpr std::uint8_t double_type = 2, signed_type = 4;

MetricValueForm form_of(std::uint8_t value_type) {
    switch (value_type) {
        case double_type:
            return MetricValueForm::float64;
        case signed_type:
            return MetricValueForm::signed_integer;
        default:
            return MetricValueForm::unsigned_integer;
    }
}

}  // namespace

// See walk_label_values().
class MetricsReader::LabelSetter {
  public:
    LabelSetter(MetricsReader &reader, const metrics::LabelSetView &set)
        : reader_(reader), names_(set.names) {}

    // In the table: only records whose ids were checked come here.
    void id(std::size_t index, std::uint8_t id) { text(index, reader_.view_->label_values[id]); }
    void text(std::size_t /*index*/, std::string_view text) {
        std::string_view name;
        if (metrics::read_string(names_, &name)) reader_.set_label(name, text);
    }

  private:
    MetricsReader &reader_;
    ByteReader names_;
};

MetricsReader::MetricsReader(const RecordSelection *selection, MetricsSink sink)
    : selection_(*selection),
      sink_(std::move(sink)),
      walk_({.tables = [this](const scan::MetricsTables &tables) { return read_tables(tables); },
             .record =
                 [this](std::size_t, const RecordView &record) {
                     // The walk goes on without giving: faults of later records are still to be
                     // told.
                     goes_on_ = goes_on_ && give(record);
                 },
             .fault = sink_.fault}) {}

void MetricsReader::read(Bytes bytes) {
    run_ = bytes;
    walk_.walk(bytes);
}

bool MetricsReader::read_tables(const scan::MetricsTables &tables) {
    view_ = &tables.view;
    collect_constant_labels(tables.constants);
    // Ids mean other names in each block.
    choices_.assign(view_->metric_names.size(), Choice::unknown);
    // False when there is no room for more text; records would find none either.
    goes_on_ = read_histograms();
    return goes_on_;
}

bool MetricsReader::read_histograms() {
    Bytes hit = metrics::find_mark(view_->between, "HIST");
    if (hit.empty()) return true;
    const std::vector<std::string> values(view_->label_values.begin(), view_->label_values.end());
    while (!hit.empty()) {
        metrics::Histogram histogram;
        std::size_t size = 0;
        try {
            size = metrics::Histogram::parse(hit, values, &histogram);
        } catch (const std::exception &error) {
            sink_.fault(offset_of(hit.data()), hit.size(), "metrics_record", error.what());
            // Records stand in a part of their own and may be sound.
            return true;
        }
        if (!read_histogram(hit, size, histogram)) return false;
        hit = metrics::find_mark(hit.subspan(std::min(size + metrics::MARK_SIZE, hit.size())),
                                 "HIST");
    }
    return true;
}

bool MetricsReader::read_histogram(Bytes section, std::size_t size,
                                   const metrics::Histogram &histogram) {
    if (!selection_.takes_metric(histogram.name) || !selection_.takes_time(histogram.timestamp))
        return true;
    const std::size_t num_labels = histogram.label_values.size();
    const bool is_known = histogram.label_set_id < view_->label_sets.size();
    const std::size_t num_names =
        is_known ? view_->label_sets[histogram.label_set_id].count : std::size_t{0};
    if (num_labels > num_names) {
        sink_.fault(offset_of(section.data()), size, "metrics_names",
                    "A histogram has " + std::to_string(num_labels) + " labels for " +
                        std::to_string(num_names) + " names");
        return true;
    }
    labels_ = constant_labels_;
    ByteReader names(is_known ? view_->label_sets[histogram.label_set_id].names : Bytes());
    for (const std::string &value : histogram.label_values) {
        std::string_view name;
        if (metrics::read_string(names, &name)) set_label(name, value);
    }
    return sink_.histogram({histogram, labels_});
}

bool MetricsReader::give(const RecordView &record) {
    if (!selection_.takes_time(record.timestamp)) return true;
    samples_.clear();
    for (std::size_t i = 0; i < record.num_samples(); ++i) {
        const metrics::MetricSample sample = record.sample(i);
        if (takes_metric(sample.sample_id))
            samples_.push_back({view_->metric_names[sample.sample_id], sample.sample_value});
    }
    if (samples_.empty()) return true;
    labels_ = constant_labels_;
    if (record.labels.count > 0) {
        LabelSetter setter(*this, view_->label_sets[record.labels.label_set_id]);
        metrics::walk_label_values(record.labels, record.label_values, setter);
    }
    return sink_.record({.time = record.timestamp,
                         .is_counter = record.metric_type == 'C',
                         .form = form_of(record.value_type),
                         .labels = labels_,
                         .samples = samples_});
}

bool MetricsReader::takes_metric(std::uint16_t id) {
    if (selection_.takes_all_metrics()) return true;
    Choice &choice = choices_[id];
    if (choice == Choice::unknown)
        choice =
            selection_.takes_metric(view_->metric_names[id]) ? Choice::taken : Choice::left_out;
    return choice == Choice::taken;
}

void MetricsReader::collect_constant_labels(const std::vector<std::string_view> &constants) {
    constant_labels_.clear();
    constant_places_.clear();
    // A name at the end without a value is left out.
    for (std::size_t i = 0; i + 1 < constants.size(); i += 2) {
        const auto [place, is_new] =
            constant_places_.try_emplace(constants[i], constant_labels_.size());
        if (is_new)
            constant_labels_.push_back({constants[i], constants[i + 1]});
        else
            constant_labels_[place->second].value = constants[i + 1];
    }
}

void MetricsReader::set_label(std::string_view name, std::string_view value) {
    // A record's own value counts, at the place of the constant label.
    if (const auto constant = constant_places_.find(name); constant != constant_places_.end()) {
        labels_[constant->second].value = value;
        return;
    }
    // A record has 255 labels at most.
    const auto own = labels_.begin() + static_cast<std::ptrdiff_t>(constant_labels_.size());
    const auto known = std::find_if(own, labels_.end(),
                                    [&](const MetricLabel &label) { return label.name == name; });
    if (known == labels_.end())
        labels_.push_back({name, value});
    else
        known->value = value;
}

std::size_t MetricsReader::offset_of(const std::uint8_t *place) const {
    return static_cast<std::size_t>(place - run_.data());
}

}  // namespace vrn::exporter
