#include "vrn_export/format/lines_format.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/command_line.h"
#include "data/text/double_text.h"
#include "data/text/value_text.h"
#include "vrn_export/format/label_names.h"
#include "vrn_export/format/lines_fields.h"
#include "vrn_export/format/lines_text.h"
#include "vrn_export/format/name_map.h"
#include "vrn_export/format/record_encoder.h"
#include "vrn_export/format/record_selection.h"
#include "vrn_export/format/row_writers.h"
#include "vrn_export/format/tag_text.h"
#include "vrn_export/format/unique_names.h"

namespace vrn::exporter {
namespace {

constexpr std::string_view own_tags[] = {"source", "tag", "time"};
// Nanoseconds in 63 bits.
constexpr std::uint64_t max_time = std::numeric_limits<std::int64_t>::max() / 1000;
constexpr std::uint64_t max_integer = std::numeric_limits<std::int64_t>::max();
// InfluxDB takes no more of measurement, tags and field name together, and some more bytes between.
constexpr std::size_t max_series_size = 65000;

struct NamedValue {
    std::string name;
    RowValue value;
};

// What the schemas of all files name, by measurement.
using KnownFields = std::map<std::string, LinesFields>;

LinesFieldType type_of(ValueForm form) {
    switch (form) {
        case ValueForm::unsigned_integer:
        case ValueForm::signed_integer:
        case ValueForm::time:
            return LinesFieldType::integer;
        case ValueForm::text:
        case ValueForm::bits64:
        case ValueForm::bits128:
            return LinesFieldType::text;
        default:
            return LinesFieldType::float64;
    }
}

// Integers beyond 63 bits are floats, and so have a field of their own.
bool may_overflow(const RowValue &value) {
    return (value.form == ValueForm::unsigned_integer || value.form == ValueForm::time) &&
           value.spare_bits == 0;
}

void append_double(double value, TextBuffer *text) {
    text->advance_to(write_shortest_double(text->reserve(DOUBLE_TEXT_ROOM), value));
}

void append_bits(const RowValue &value, const std::uint8_t *row, TextBuffer *text) {
    text->advance_to(write_bits(text->reserve(VALUE_TEXT_ROOM), value, row));
}

double wide_double(const RowValue &value, const std::uint8_t *row) {
    const unsigned __int128 number = read_unsigned128(value, row);
    return value.form == ValueForm::unsigned128
               ? static_cast<double>(number)
               : static_cast<double>(static_cast<__int128>(number));
}

// At the limit and beyond the cast back would be undefined; such numbers count as changed.
bool is_exact(double number, const RowValue &value, const std::uint8_t *row) {
    constexpr double limit = 0x1p127;
    if (std::abs(number) >= limit) return false;
    return static_cast<__int128>(number) == static_cast<__int128>(read_unsigned128(value, row));
}

// One line. Without a field, or with names or a time that are too large, it leaves nothing.
class Line {
  public:
    explicit Line(const Output &out)
        : text_(*out.text), counts_(*out.counts), begin_(text_.size()) {}

    // Measurement and tags, which may go on with tag().
    void head(std::string_view text) { text_.append(text); }
    // `key`: "name=".
    void tag(std::string_view key, std::string_view value) {
        // A tag without a value makes the server refuse the line.
        if (value.empty()) return;
        text_.append(',');
        text_.append(key);
        append_lines_tag_value(value, &text_);
    }
    void row_tag(std::string_view key, const RowValue &value, const std::uint8_t *row) {
        if (value.form == ValueForm::text) return tag(key, read_text(value, row));
        if (value.form == ValueForm::missing) return;
        text_.append(',');
        text_.append(key);
        append_tag_text(value, row, &text_);
    }

    void integer(std::string_view key, std::int64_t value) {
        begin_field(key);
        text_.integer(value);
        text_.append('i');
    }
    // `float_key`: of the field that takes what is no signed integer.
    void unsigned_integer(std::string_view key, std::string_view float_key, std::uint64_t value) {
        if (value <= max_integer) return integer(key, static_cast<std::int64_t>(value));
        float64(float_key, static_cast<double>(value));
        ++counts_.changed_values;
    }
    void float64(std::string_view key, double value) {
        if (!std::isfinite(value)) return drop();
        begin_field(key);
        append_double(value, &text_);
    }
    void text(std::string_view key, std::string_view value) {
        begin_field(key);
        if (!append_lines_text(value, &text_)) ++counts_.changed_values;
    }
    void row_field(std::string_view key, std::string_view float_key, const RowValue &value,
                   const std::uint8_t *row) {
        switch (value.form) {
            case ValueForm::unsigned_integer:
            case ValueForm::time:
                return unsigned_integer(key, float_key, read_unsigned(value, row));
            case ValueForm::signed_integer:
                return integer(key, read_signed(value, row));
            case ValueForm::float32:
            case ValueForm::float64:
                return float64(key, read_double(value, row));
            case ValueForm::text:
                return text(key, read_text(value, row));
            case ValueForm::bits64:
            case ValueForm::bits128:
                begin_field(key);
                text_.append('"');
                append_bits(value, row, &text_);
                text_.append('"');
                return;
            case ValueForm::unsigned128:
            case ValueForm::signed128: {
                const double number = wide_double(value, row);
                if (!is_exact(number, value, row)) ++counts_.changed_values;
                return float64(key, number);
            }
            case ValueForm::missing:
                return drop();
        }
    }

    // `longest_key`: that of a field.
    void end(std::uint64_t time, std::size_t longest_key) {
        const bool is_taken =
            num_fields_ > 0 && time <= max_time && series_size_ + longest_key <= max_series_size;
        if (!is_taken) {
            // Without a value, time and tags are lost.
            counts_.dropped_values += num_fields_ > 0 || has_dropped_ ? num_fields_ : 1;
            text_.cut(begin_);
            return;
        }
        text_.append(' ');
        text_.integer(time);
        // From microseconds to nanoseconds.
        text_.append(time == 0 ? "\n" : "000\n");
    }

  private:
    void drop() {
        has_dropped_ = true;
        ++counts_.dropped_values;
    }

    void begin_field(std::string_view key) {
        // The first field ends what the server counts as the series.
        if (num_fields_ == 0) series_size_ = text_.size() - begin_;
        text_.append(num_fields_ == 0 ? ' ' : ',');
        text_.append(key);
        ++num_fields_;
    }

    TextBuffer &text_;
    RecordCounts &counts_;
    std::size_t begin_;
    std::size_t series_size_ = 0;
    std::size_t num_fields_ = 0;
    bool has_dropped_ = false;
};

// Measurement, source and tag: the same for all records of a type that come from one place.
class LineHead {
  public:
    explicit LineHead(std::string measurement) : measurement_(std::move(measurement)) {}

    std::string_view of(const Origin &origin) {
        if (origin.serial != serial_) {
            text_.clear();
            text_.append(measurement_);
            append_origin(origin, &text_);
            serial_ = origin.serial;
        }
        return text_.view();
    }

    static void append_origin(const Origin &origin, TextBuffer *text) {
        if (!origin.source.empty()) {
            text->append(",source=");
            append_lines_tag_value(origin.source, text);
        }
        if (!origin.tag.empty()) {
            text->append(",tag=");
            append_lines_tag_value(origin.tag, text);
        }
    }

  private:
    std::string measurement_;
    TextBuffer text_;
    std::uint64_t serial_ = 0;
};

struct RowShape {
    std::vector<NamedValue> tags;
    std::vector<NamedValue> fields;
};

// Sets the tags apart and makes each name the only one of its kind: InfluxDB refuses equal tags,
// and "time", and can't tell a tag from a field of the same name.
RowShape make_shape(std::vector<NamedValue> values, const std::vector<std::string> &tag_fields) {
    const auto is_tag = [&](const NamedValue &value) {
        return std::ranges::find(tag_fields, value.name) != tag_fields.end();
    };
    // Tags first: where a field has the name of one, the tag keeps it.
    const auto fields = std::stable_partition(values.begin(), values.end(), is_tag);
    std::vector<std::string> names;
    names.reserve(values.size());
    for (const NamedValue &value : values) names.push_back(lines_name(value.name));
    names = unique_names(std::move(names), own_tags);
    for (std::size_t i = 0; i < names.size(); ++i) values[i].name = std::move(names[i]);
    return {.tags = {values.begin(), fields}, .fields = {fields, values.end()}};
}

void add_fields(const RowShape &shape, LinesFields *fields) {
    for (const auto &[name, value] : shape.fields) {
        fields->add(name, type_of(value.form));
        if (may_overflow(value)) fields->add(name, LinesFieldType::float64);
    }
}

// The values of an event but for its time, which the line has.
std::vector<NamedValue> values_of(const EventPlan &plan) {
    std::vector<NamedValue> values;
    for (Leaf &leaf : flatten(plan)) {
        const bool is_time =
            leaf.value.form == ValueForm::time && plan.time_offset == leaf.value.offset;
        if (!is_time) values.push_back({std::move(leaf.name), leaf.value});
    }
    return values;
}

std::vector<NamedValue> values_of(const GroupPlan &plan) {
    std::vector<NamedValue> values;
    values.reserve(plan.counters.size());
    for (const PlannedCounter &counter : plan.counters)
        values.push_back({counter.name, counter.value});
    return values;
}

// Rows of one shape.
class LineRows {
  public:
    LineRows(const std::string &measurement, const RowShape &shape, const LinesFields &names)
        : head_(measurement) {
        for (const auto &[name, value] : shape.tags) tags_.push_back({value, name + "=", {}});
        for (const auto &[name, value] : shape.fields) {
            fields_.push_back({value, names.name_of(name, type_of(value.form)) + "=", {}});
            if (may_overflow(value))
                fields_.back().float_key = names.name_of(name, LinesFieldType::float64) + "=";
        }
        for (const Item &field : fields_)
            longest_key_ = std::max({longest_key_, field.key.size(), field.float_key.size()});
    }

    void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
               const Output &out) {
        Line line(out);
        line.head(head_.of(origin));
        for (const Item &tag : tags_) line.row_tag(tag.key, tag.value, row);
        for (const Item &field : fields_)
            line.row_field(field.key, field.float_key, field.value, row);
        line.end(time, longest_key_);
    }

    // About the most that a row becomes.
    std::size_t text_size() const {
        std::size_t size = 200;
        for (const Item &tag : tags_) size += item_size(tag);
        for (const Item &field : fields_) size += item_size(field);
        return size;
    }

  private:
    struct Item {
        RowValue value;
        std::string key;        // with "="
        std::string float_key;  // of integers that no integer field takes
    };

    static std::size_t item_size(const Item &item) {
        return item.key.size() + 3 * std::size_t{item.value.size} + DOUBLE_TEXT_ROOM;
    }

    LineHead head_;
    std::vector<Item> tags_;
    std::vector<Item> fields_;
    std::size_t longest_key_ = 0;
};

using LineEvents = RowEvents<LineRows>;
using LineGroup = RowGroup<LineRows>;

// Source, tag and labels, as all lines of a record have them after their measurement.
class RecordTags {
  public:
    std::string_view of(const Origin &origin, std::span<const MetricLabel> labels) {
        text_.clear();
        LineHead::append_origin(origin, &text_);
        const std::vector<std::string> &names = names_.of(labels);
        for (std::size_t i = 0; i < labels.size(); ++i) {
            if (labels[i].value.empty()) continue;
            text_.append(',');
            text_.append(names[i]);
            text_.append('=');
            append_lines_tag_value(labels[i].value, &text_);
        }
        return text_.view();
    }

  private:
    LabelNames names_{lines_name, own_tags};
    TextBuffer text_;
};

// The measurement of a metric, which is none that events or counters have: their fields may be of
// other types.
class MetricMeasurements {
  public:
    explicit MetricMeasurements(const KnownFields &known) : known_(known) {}

    std::string_view of(std::string_view metric) {
        const auto found = names_.find(metric);
        if (found != names_.end()) return found->second;
        // Names have no end in files that mean harm.
        if (names_.size() == max_kept) names_.clear();
        std::string name = lines_name(metric);
        // What was learned stays as it is, so all threads come to the same name.
        while (known_.contains(name)) name += '_';
        return names_.emplace(metric, std::move(name)).first->second;
    }

  private:
    static constexpr std::size_t max_kept = 1 << 16;

    const KnownFields &known_;
    NameMap<std::string> names_;
};

// Records give a metric values of several types.
constexpr std::string_view value_key = "value=";
constexpr std::string_view float_value_key = "value_float=";

class LineMetrics final : public MetricsWriter {
  public:
    explicit LineMetrics(const KnownFields &known) : MetricsWriter(""), measurements_(known) {}

    void write(const MetricRecord &record, const Origin &origin, const Output &out) override {
        const std::string_view tags = tags_.of(origin, record.labels);
        for (const MetricSample &sample : record.samples) {
            Line line(out);
            line.head(measurements_.of(sample.name));
            line.head(tags);
            if (record.form == MetricValueForm::unsigned_integer)
                line.unsigned_integer(value_key, float_value_key, sample.bits);
            else if (record.form == MetricValueForm::signed_integer)
                line.integer(value_key, sample.as_signed());
            else
                // Floats never go to "value": one integer there before would make the server refuse
                // them.
                line.float64(float_value_key, sample.as_double());
            line.end(record.time, float_value_key.size());
        }
    }

  private:
    MetricMeasurements measurements_;
    RecordTags tags_;
};

class LineHistograms final : public HistogramWriter {
  public:
    explicit LineHistograms(const KnownFields &known) : HistogramWriter(""), measurements_(known) {}

    void write(const HistogramRecord &record, const Origin &origin, const Output &out) override {
        const metrics::Histogram &histogram = record.histogram;
        Line line(out);
        line.head(measurements_.of(histogram.name));
        line.head(tags_.of(origin, record.labels));
        line.float64("sum=", histogram.sum);
        line.unsigned_integer("count=", "count_float=", histogram.count);
        std::vector<std::string> names;
        names.reserve(histogram.buckets.size());
        for (const metrics::Bucket &bucket : histogram.buckets)
            names.push_back(bucket_name(bucket.upper_bound));
        // Bounds may be equal; each count keeps a field. None can be named "sum" or "count".
        names = unique_names(std::move(names), {});
        for (std::size_t i = 0; i < names.size(); ++i) {
            line.unsigned_integer(names[i] + "=", names[i] + "_float=", histogram.buckets[i].count);
        }
        line.end(histogram.timestamp, max_bucket_name);
    }

  private:
    static constexpr std::size_t max_bucket_name = 300;  // with what 255 equal ones add to it

    static std::string bucket_name(double bound) {
        TextBuffer text;
        text.append("le_");
        if (std::isinf(bound))
            text.append(bound > 0 ? "+Inf" : "-Inf");
        else
            append_double(bound, &text);
        return std::string(text.view());
    }

    MetricMeasurements measurements_;
    RecordTags tags_;
};

// Changed by learn() alone, before there are threads; read by all of them without a lock.
struct LinesShared {
    explicit LinesShared(const FormatOptions &options)
        : selection(options.selection), tag_fields(options.tag_fields) {}

    RecordSelection selection;
    std::vector<std::string> tag_fields;
    KnownFields known;
};

class LineRecords final : public RecordFormat {
  public:
    explicit LineRecords(const LinesShared &shared) : shared_(shared) {}

    std::unique_ptr<EventWriter> event_writer(const EventPlan &plan) override {
        return std::make_unique<LineEvents>(plan, rows_of(plan.type->name, plan));
    }
    std::unique_ptr<GroupWriter> group_writer(const GroupPlan &plan) override {
        return std::make_unique<LineGroup>(rows_of(plan.name, plan));
    }
    std::unique_ptr<MetricsWriter> metrics_writer() override {
        return std::make_unique<LineMetrics>(shared_.known);
    }
    std::unique_ptr<HistogramWriter> histogram_writer() override {
        return std::make_unique<LineHistograms>(shared_.known);
    }

  private:
    template <typename Plan>
    LineRows rows_of(std::string_view name, const Plan &plan) const {
        const std::string measurement = lines_name(name);
        const auto known = shared_.known.find(measurement);
        return {measurement, make_shape(values_of(plan), shared_.tag_fields),
                known == shared_.known.end() ? LinesFields() : known->second};
    }

    const LinesShared &shared_;
};

class LinesFormat final : public Format {
  public:
    explicit LinesFormat(const FormatOptions &options) : shared_(options) {
        if (options.iso_times) throw tool::UsageError("Times of lines are numbers");
    }

    std::unique_ptr<Encoder> make_encoder() const override {
        return std::make_unique<RecordEncoder>(&shared_.selection,
                                               std::make_unique<LineRecords>(shared_));
    }
    bool takes_file(const vrn_data_file_header_t &header) const override {
        return shared_.selection.takes_file(header);
    }
    const char *suffix() const override { return ".lines"; }

    // A field has one type at the server, whatever the versions of its schema say.
    bool wants_schemas() const override { return true; }
    void learn(const scan::LoadedSchemas &schemas) override {
        if (const vrn_counters_schema_t *counters = schemas.counters_schema()) {
            for (const GroupPlan &plan : make_group_plans(*counters, shared_.selection))
                learn_plan(plan.name, plan);
        }
        if (!schemas.type_system) return;
        const vrn_type_system_t &system = *schemas.type_system;
        for (std::uint32_t i = 0; i < system.num_schemas; ++i) {
            const vrn_schema_t &schema = *system.schemas[i];
            for (std::uint32_t j = 0; j < schema.num_types; ++j) learn_type(*schema.types[j]);
        }
    }

  private:
    void learn_type(const vrn_type_definition_t &type) {
        const EventPlan plan = make_event_plan(type, shared_.selection);
        if (!plan.fields.empty() && is_within(plan, max_learned_values, max_learned_name_bytes))
            learn_plan(type.name, plan);
    }
    template <typename Plan>
    void learn_plan(std::string_view name, const Plan &plan) {
        const RowShape shape = make_shape(values_of(plan), shared_.tag_fields);
        for (const NamedValue &field : shape.fields) learned_bytes_ += field.name.size();
        if (learned_bytes_ <= max_learned_bytes)
            add_fields(shape, &shared_.known[lines_name(name)]);
    }

    // What few bytes of schemas could claim.
    static constexpr std::size_t max_learned_bytes = 64 << 20;

    std::size_t learned_bytes_ = 0;
    LinesShared shared_;
};

}  // namespace

std::unique_ptr<Format> make_lines_format(const FormatOptions &options) {
    return std::make_unique<LinesFormat>(options);
}

}  // namespace vrn::exporter
