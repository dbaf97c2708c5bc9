#include "vrn_export/format/openmetrics_format.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/command_line.h"
#include "data/selection/name_tables.h"
#include "vrn_export/format/label_names.h"
#include "vrn_export/format/name_map.h"
#include "vrn_export/format/openmetrics_series.h"
#include "vrn_export/format/openmetrics_text.h"
#include "vrn_export/format/record_encoder.h"
#include "vrn_export/format/record_selection.h"
#include "vrn_export/format/row_writers.h"
#include "vrn_export/format/tag_text.h"
#include "vrn_export/format/unique_names.h"

namespace vrn::exporter {
namespace {

// A label may stand once in a series, so fields and labels of the data take other names than these.
constexpr std::string_view own_labels[] = {"source", "tag",     "type",   "group",
                                           "field",  "counter", "metric", "le"};
constexpr std::string_view total = "_total";
// What the names of samples end with.
constexpr std::string_view suffixes[] = {total, "_bucket", "_sum", "_count", "_created"};

bool is_number(ValueForm form) {
    switch (form) {
        case ValueForm::text:
        case ValueForm::bits64:
        case ValueForm::bits128:
        case ValueForm::missing:
            return false;
        default:
            return true;
    }
}

// A reader could take such a name for a sample of another family.
bool ends_in_suffix(std::string_view name) {
    return std::ranges::any_of(suffixes,
                               [&](std::string_view suffix) { return name.ends_with(suffix); });
}

// The family whose samples a counter has, which all end in "_total".
std::string counter_family(std::string name) {
    // Each sample gets the ending again.
    if (name.size() > total.size() && name.ends_with(total))
        name.resize(name.size() - total.size());
    return name;
}

// The series of `family`, which comes of `name`, of a kind of records where `label` gives the true
// name if another one could come to the same family.
OpenMetricsSeries make_series(const std::string &family, FamilyType type, std::string_view label,
                              std::string_view name, bool is_told) {
    std::string own = type == FamilyType::counter ? counter_family(family) : family;
    return {std::move(own), type, is_told ? label : "", is_told ? name : ""};
}

// Floats aside: this format has words for those that are no finite number.
void append_number(const RowValue &value, const std::uint8_t *row, TextBuffer *text) {
    const bool is_double = value.form == ValueForm::float32 || value.form == ValueForm::float64;
    if (is_double)
        append_openmetrics_double(read_double(value, row), text);
    else
        append_tag_text(value, row, text);
}

struct RowSeries {
    OpenMetricsSeries series;
    std::string_view suffix;
    RowValue value;
};

struct LabelValue {
    std::string name;
    RowValue value;
};

// Rows of one shape.
class SampleRows {
  public:
    // `kind`: the label with the name of the rows' type or group, and that name.
    SampleRows(std::string_view kind, std::string name) : kind_(kind), name_(std::move(name)) {}

    void add_series(RowSeries series) { series_.push_back(std::move(series)); }
    void add_left_out() { ++num_left_out_; }
    void set_tags(std::vector<LabelValue> tags) { tags_ = std::move(tags); }

    void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
               const Output &out) {
        set_labels(row, origin);
        for (RowSeries &one : series_) {
            one.series.announce(out);
            one.series.begin(labels_, time, {.suffix = one.suffix, .bound = {}, .order = {}},
                             out.text);
            append_number(one.value, row, out.text);
            OpenMetricsSeries::end(time, out.text);
        }
        out.counts->dropped_values += num_left_out_;
    }

    // About the most that a row becomes.
    std::size_t text_size() const {
        // Labels stand twice: in the key that the line is sorted by, and in the line.
        std::size_t labels = 2 * name_.size() + 200;
        for (const LabelValue &tag : tags_) labels += 2 * (tag.name.size() + tag.value.size) + 64;
        std::size_t size = 0;
        for (const RowSeries &one : series_) size += labels + one.series.text_size() + 128;
        return size;
    }

  private:
    void set_labels(const std::uint8_t *row, const Origin &origin) {
        // Without tags the labels hang on the origin alone.
        if (tags_.empty() && origin.serial == serial_) return;
        serial_ = origin.serial;
        labels_.clear();
        labels_.add_origin(origin);
        labels_.add(kind_, name_);
        for (const LabelValue &tag : tags_) {
            tag_text_.clear();
            append_tag_text(tag.value, row, &tag_text_);
            labels_.add(tag.name, tag_text_.view());
        }
    }

    std::string_view kind_;
    std::string name_;
    std::vector<LabelValue> tags_;
    std::vector<RowSeries> series_;
    std::uint64_t num_left_out_ = 0;  // values of a row that are no numbers
    OpenMetricsLabels labels_;
    TextBuffer tag_text_;
    std::uint64_t serial_ = 0;
};

// The labels that tell where in a data file rows come from.
struct RowKind {
    std::string_view name_label;
    std::string_view value_label;  // where the name of the family doesn't tell it
    bool has_counters;             // which share the endings of names with gauges
};

constexpr RowKind event_rows = {"type", "field", false};
constexpr RowKind group_rows = {"group", "counter", true};

// Values of rows on their way to labels and series.
class RowsBuilder {
  public:
    RowsBuilder(const RowKind &kind, const std::string &name,
                const std::vector<std::string> &tag_fields)
        : kind_(kind), rows_(kind.name_label, name), prefix_(name + "_"), tag_fields_(tag_fields) {}

    void add(const std::string &name, const RowValue &value, FamilyType type) {
        if (std::ranges::find(tag_fields_, name) != tag_fields_.end()) {
            tag_names_.push_back(openmetrics_label_name(name));
            tags_.push_back({"", value});
            return;
        }
        if (!is_number(value.form)) return rows_.add_left_out();
        const std::string family = openmetrics_name(prefix_ + name);
        const bool is_told = !std::string_view(family).ends_with("_" + name) ||
                             (kind_.has_counters && ends_in_suffix(family));
        rows_.add_series({make_series(family, type, kind_.value_label, name, is_told),
                          type == FamilyType::counter ? total : std::string_view(), value});
    }

    SampleRows take() {
        // Only now that all are known.
        tag_names_ = unique_names(std::move(tag_names_), own_labels);
        for (std::size_t i = 0; i < tags_.size(); ++i) tags_[i].name = std::move(tag_names_[i]);
        rows_.set_tags(std::move(tags_));
        return std::move(rows_);
    }

  private:
    const RowKind &kind_;
    SampleRows rows_;
    std::string prefix_;
    const std::vector<std::string> &tag_fields_;
    std::vector<std::string> tag_names_;
    std::vector<LabelValue> tags_;
};

SampleRows rows_of(const EventPlan &plan, const std::vector<std::string> &tag_fields) {
    RowsBuilder rows(event_rows, plan.type->name, tag_fields);
    for (const Leaf &leaf : flatten(plan)) {
        const bool is_time =
            leaf.value.form == ValueForm::time && plan.time_offset == leaf.value.offset;
        if (!is_time) rows.add(leaf.name, leaf.value, FamilyType::gauge);
    }
    return rows.take();
}

SampleRows rows_of(const GroupPlan &plan, const std::vector<std::string> &tag_fields) {
    RowsBuilder rows(group_rows, plan.name, tag_fields);
    for (const PlannedCounter &planned : plan.counters) {
        const bool is_counter = planned.counter->counting_type == VRN_COUNTING_RUNNING_SUM;
        rows.add(planned.name, planned.value, is_counter ? FamilyType::counter : FamilyType::gauge);
    }
    return rows.take();
}

using SampleEvents = RowEvents<SampleRows>;
using SampleGroup = RowGroup<SampleRows>;

// The series of metrics by their names in the data files.
class MetricSeries {
  public:
    explicit MetricSeries(FamilyType type) : type_(type) {}

    OpenMetricsSeries &of(std::string_view metric) {
        const auto found = series_.find(metric);
        if (found != series_.end()) return found->second;
        // Names have no end in files that mean harm.
        // What is forgotten is announced again; sorting leaves one of equal lines.
        if (series_.size() == max_kept) series_.clear();
        const std::string family = openmetrics_name(metric);
        const bool is_told = family != metric || ends_in_suffix(family);
        return series_.emplace(metric, make_series(family, type_, "metric", metric, is_told))
            .first->second;
    }

  private:
    static constexpr std::size_t max_kept = 1 << 16;

    FamilyType type_;
    NameMap<OpenMetricsSeries> series_;
};

// Those of a record of metrics or a histogram.
class RecordLabels {
  public:
    const OpenMetricsLabels &of(const Origin &origin, std::span<const MetricLabel> labels) {
        labels_.clear();
        labels_.add_origin(origin);
        const std::vector<std::string> &names = names_.of(labels);
        for (std::size_t i = 0; i < labels.size(); ++i) labels_.add(names[i], labels[i].value);
        return labels_;
    }

  private:
    LabelNames names_{openmetrics_label_name, own_labels};
    OpenMetricsLabels labels_;
};

class SampleMetrics final : public MetricsWriter {
  public:
    SampleMetrics() : MetricsWriter("") {}

    void write(const MetricRecord &record, const Origin &origin, const Output &out) override {
        const OpenMetricsLabels &labels = labels_.of(origin, record.labels);
        MetricSeries &metrics = record.is_counter ? counters_ : gauges_;
        const SamplePart part = {
            .suffix = record.is_counter ? total : "", .bound = {}, .order = {}};
        for (const MetricSample &sample : record.samples) {
            OpenMetricsSeries &series = metrics.of(sample.name);
            series.announce(out);
            series.begin(labels, record.time, part, out.text);
            if (record.form == MetricValueForm::unsigned_integer)
                out.text->integer(sample.bits);
            else if (record.form == MetricValueForm::signed_integer)
                out.text->integer(sample.as_signed());
            else
                append_openmetrics_double(sample.as_double(), out.text);
            OpenMetricsSeries::end(record.time, out.text);
        }
    }

  private:
    MetricSeries gauges_{FamilyType::gauge};
    MetricSeries counters_{FamilyType::counter};
    RecordLabels labels_;
};

class SampleHistograms final : public HistogramWriter {
  public:
    SampleHistograms() : HistogramWriter("") {}

    void write(const HistogramRecord &record, const Origin &origin, const Output &out) override {
        const metrics::Histogram &histogram = record.histogram;
        const OpenMetricsLabels &labels = labels_.of(origin, record.labels);
        OpenMetricsSeries &series = series_.of(histogram.name);
        series.announce(out);
        const auto begin = [&](const SamplePart &part) {
            series.begin(labels, histogram.timestamp, part, out.text);
        };
        const auto whole = [&](const SamplePart &part, std::uint64_t value) {
            begin(part);
            out.text->integer(value);
            OpenMetricsSeries::end(histogram.timestamp, out.text);
        };
        std::string last;
        for (std::size_t i = 0; i < histogram.buckets.size(); ++i) {
            const auto &[bound, count] = histogram.buckets[i];
            // The last bucket must be there and hold the count: it is made of it, below.
            const bool is_last = std::isinf(bound) && bound > 0;
            if (is_last && count == histogram.count) continue;
            std::string text = openmetrics_bound(bound);
            if (is_last || std::isnan(bound) || text == last) {
                ++out.counts->dropped_values;
                continue;
            }
            // Two letters, as samples are sorted by their bytes: enough for 256 buckets.
            const char order[] = {'b', static_cast<char>('a' + i / 16),
                                  static_cast<char>('a' + i % 16)};
            whole({"_bucket", text, {order, sizeof order}}, count);
            last = std::move(text);
        }
        whole({"_bucket", "+Inf", "c"}, histogram.count);
        whole({"_count", "", "d"}, histogram.count);
        begin({"_sum", "", "e"});
        append_openmetrics_double(histogram.sum, out.text);
        OpenMetricsSeries::end(histogram.timestamp, out.text);
    }

  private:
    MetricSeries series_{FamilyType::histogram};
    RecordLabels labels_;
};

class SampleRecords final : public RecordFormat {
  public:
    explicit SampleRecords(const std::vector<std::string> &tag_fields) : tag_fields_(tag_fields) {}

    std::unique_ptr<EventWriter> event_writer(const EventPlan &plan) override {
        return std::make_unique<SampleEvents>(plan, rows_of(plan, tag_fields_));
    }
    std::unique_ptr<GroupWriter> group_writer(const GroupPlan &plan) override {
        return std::make_unique<SampleGroup>(rows_of(plan, tag_fields_));
    }
    std::unique_ptr<MetricsWriter> metrics_writer() override {
        return std::make_unique<SampleMetrics>();
    }
    std::unique_ptr<HistogramWriter> histogram_writer() override {
        return std::make_unique<SampleHistograms>();
    }
    // Each value has its name and labels twice.
    std::uint64_t text_per_byte() const override { return 1024; }

  private:
    const std::vector<std::string> &tag_fields_;
};

class OpenMetricsFormat final : public Format {
  public:
    explicit OpenMetricsFormat(const FormatOptions &options)
        : selection_(options.selection), tag_fields_(options.tag_fields) {
        if (options.iso_times) throw tool::UsageError("Times of openmetrics are numbers");
    }

    std::unique_ptr<Encoder> make_encoder() const override {
        return std::make_unique<RecordEncoder>(&selection_,
                                               std::make_unique<SampleRecords>(tag_fields_));
    }
    bool takes_file(const vrn_data_file_header_t &header) const override {
        return selection_.takes_file(header);
    }
    const char *suffix() const override { return ".om"; }
    std::string tail() const override { return "# EOF\n"; }
    bool sorts_lines() const override { return true; }

  private:
    RecordSelection selection_;
    std::vector<std::string> tag_fields_;
};

}  // namespace

std::unique_ptr<Format> make_openmetrics_format(const FormatOptions &options) {
    return std::make_unique<OpenMetricsFormat>(options);
}

}  // namespace vrn::exporter
