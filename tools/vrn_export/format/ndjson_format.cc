#include "vrn_export/format/ndjson_format.h"

#include <string>
#include <utility>
#include <vector>

#include "common/command_line.h"
#include "common/json_string.h"
#include "data/text/json_string.h"
#include "vrn_export/format/json_value_text.h"
#include "vrn_export/format/record_encoder.h"
#include "vrn_export/format/record_selection.h"
#include "vrn_export/format/row_text.h"
#include "vrn_export/format/unique_names.h"

namespace vrn::exporter {
namespace {

// Members of each record that no field may hide.
constexpr std::string_view own_members[] = {"type", "source", "tag", "time"};
// The head of a record, up to the value of its time: the same for all records of a type that come
// from one place.
class Head {
  public:
    explicit Head(const std::string &type)
        : start_("{\"type\":" + tool::json_string(type) + ",\"source\":") {}

    std::string_view of(const Origin &origin) {
        if (origin.serial != serial_) {
            text_ = start_ + tool::json_string(origin.source) +
                    ",\"tag\":" + tool::json_string(origin.tag) + ",\"time\":";
            serial_ = origin.serial;
        }
        return text_;
    }

  private:
    std::string start_;
    std::string text_;
    std::uint64_t serial_ = 0;
};

// See RowText.
class JsonStyle {
  public:
    JsonStyle(const std::string &type, bool is_iso) : head_(type), is_iso_(is_iso) {}

    static constexpr std::string_view missing = "null";
    static constexpr std::string_view quote = "\"";

    std::string_view before_time(const Origin &origin) { return head_.of(origin); }
    static std::string_view after_time(const Origin & /*origin*/) { return ""; }
    char *write_time(char *out, std::uint64_t time) const {
        return write_json_time(out, time, is_iso_);
    }
    static char *write_double(char *out, double value, RecordCounts *counts) {
        return write_json_double(out, value, counts);
    }
    static char *write_text(char *out, Bytes field, TextBuffer *to) {
        if (char *const end = write_plain_json(out, field)) return end;
        to->advance_to(out);
        append_json_text(text_of(field), to);
        return to->reserve(0);
    }

  private:
    Head head_;
    bool is_iso_;
};

using JsonRow = RowText<JsonStyle>;

// Makes the pieces of a row of events. See FieldWalk.
class PieceSink {
  public:
    explicit PieceSink(const std::vector<std::string> &names) : names_(names) {}

    void key(const FieldNode &node) {
        if (!is_first_) piece_ += ',';
        is_first_ = false;
        // Only members of the record itself meet ours; nested ones keep their names.
        const bool is_top = depth_ == 0;
        piece_ += tool::json_string(is_top ? names_[next_name_++] : node.field->field_name) + ":";
    }
    void element(std::size_t index) {
        if (index > 0) piece_ += ',';
    }
    void begin_record() { open('{'); }
    void end_record() { close('}'); }
    void begin_array() { open('['); }
    void end_array() { close(']'); }
    void value(const RowValue &value) {
        items_.push_back({std::move(piece_), value});
        piece_.clear();
    }

    std::vector<RowItem> take() { return std::move(items_); }
    // With the brackets that were closed after the last value.
    std::string end() const { return piece_ + "}\n"; }

  private:
    void open(char bracket) {
        piece_ += bracket;
        is_first_ = true;
        ++depth_;
    }
    void close(char bracket) {
        piece_ += bracket;
        is_first_ = false;
        --depth_;
    }

    const std::vector<std::string> &names_;  // of the members of the record itself
    std::size_t next_name_ = 0;
    // Of records and arrays that are open.
    std::size_t depth_ = 0;
    // Not at the start: the record's own members stand before.
    bool is_first_ = false;
    std::string piece_;
    std::vector<RowItem> items_;
};

JsonRow event_row(const EventPlan &plan, bool is_iso) {
    std::vector<std::string> names;
    for (const FieldNode &node : plan.fields) names.emplace_back(node.field->field_name);
    names = unique_names(std::move(names), own_members);
    PieceSink sink(names);
    FieldWalk(sink).members(plan.fields, 0);
    return {{plan.type->name, is_iso}, sink.take(), sink.end()};
}

JsonRow group_row(const GroupPlan &plan, bool is_iso) {
    std::vector<std::string> names;
    for (const PlannedCounter &counter : plan.counters) names.push_back(counter.name);
    names = unique_names(std::move(names), own_members);
    std::vector<RowItem> items;
    for (std::size_t i = 0; i < names.size(); ++i)
        items.push_back({"," + tool::json_string(names[i]) + ":", plan.counters[i].value});
    return {{plan.name, is_iso}, items, "}\n"};
}

void append_time(std::uint64_t time, bool is_iso, TextBuffer *text) {
    text->advance_to(write_json_time(text->reserve(time_text_size), time, is_iso));
}

// The last member, and the end of the record.
void append_labels(std::span<const MetricLabel> labels, TextBuffer *text) {
    text->append(",\"labels\":");
    append_json_labels(labels, text);
    text->append("}\n");
}

class NdjsonMetrics final : public MetricsWriter {
  public:
    explicit NdjsonMetrics(bool is_iso) : MetricsWriter(""), head_("metrics"), is_iso_(is_iso) {}

    void write(const MetricRecord &record, const Origin &origin, const Output &out) override {
        // Samples of a record differ in name and value only: all else is made once.
        start_.clear();
        start_.append(head_.of(origin));
        append_time(record.time, is_iso_, &start_);
        start_.append(",\"metric\":");
        end_.clear();
        append_labels(record.labels, &end_);
        const std::string_view kind =
            record.is_counter ? R"(,"kind":"counter","value":)" : R"(,"kind":"gauge","value":)";
        for (const MetricSample &sample : record.samples) {
            out.text->append(start_.view());
            append_json_text(sample.name, out.text);
            out.text->append(kind);
            append_json_number(sample, record.form, out);
            out.text->append(end_.view());
        }
    }

  private:
    Head head_;
    bool is_iso_;
    TextBuffer start_;  // of all samples of a record
    TextBuffer end_;
};

class NdjsonHistograms final : public HistogramWriter {
  public:
    explicit NdjsonHistograms(bool is_iso)
        : HistogramWriter(""), head_("histograms"), is_iso_(is_iso) {}

    void write(const HistogramRecord &record, const Origin &origin, const Output &out) override {
        const metrics::Histogram &histogram = record.histogram;
        TextBuffer *text = out.text;
        text->append(head_.of(origin));
        append_time(histogram.timestamp, is_iso_, text);
        text->append(",\"metric\":");
        append_json_text(histogram.name, text);
        text->append(",\"sum\":");
        append_json_double(histogram.sum, out);
        text->append(",\"count\":");
        text->integer(histogram.count);
        text->append(",\"buckets\":");
        append_json_buckets(histogram, out);
        append_labels(record.labels, text);
    }

  private:
    Head head_;
    bool is_iso_;
};

class NdjsonRecords final : public RecordFormat {
  public:
    explicit NdjsonRecords(bool is_iso) : is_iso_(is_iso) {}

    std::unique_ptr<EventWriter> event_writer(const EventPlan &plan) override {
        return std::make_unique<EventRowWriter<JsonStyle>>("", plan, event_row(plan, is_iso_));
    }
    std::unique_ptr<GroupWriter> group_writer(const GroupPlan &plan) override {
        return std::make_unique<GroupRowWriter<JsonStyle>>("", group_row(plan, is_iso_));
    }
    std::unique_ptr<MetricsWriter> metrics_writer() override {
        return std::make_unique<NdjsonMetrics>(is_iso_);
    }
    std::unique_ptr<HistogramWriter> histogram_writer() override {
        return std::make_unique<NdjsonHistograms>(is_iso_);
    }

  private:
    bool is_iso_;
};

class NdjsonFormat final : public Format {
  public:
    explicit NdjsonFormat(const FormatOptions &options)
        : selection_(options.selection), is_iso_(options.iso_times) {
        if (!options.tag_fields.empty())
            throw tool::UsageError("Records of ndjson have no tags to choose");
    }

    std::unique_ptr<Encoder> make_encoder() const override {
        return std::make_unique<RecordEncoder>(&selection_,
                                               std::make_unique<NdjsonRecords>(is_iso_));
    }
    bool takes_file(const vrn_data_file_header_t &header) const override {
        return selection_.takes_file(header);
    }
    const char *suffix() const override { return ".ndjson"; }

  private:
    RecordSelection selection_;
    bool is_iso_;
};

}  // namespace

std::unique_ptr<Format> make_ndjson_format(const FormatOptions &options) {
    return std::make_unique<NdjsonFormat>(options);
}

}  // namespace vrn::exporter
