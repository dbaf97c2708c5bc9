#include "vrn_export/format/ndjson_format.h"

#include <string>
#include <utility>
#include <vector>

#include "common/command_line.h"
#include "common/json_string.h"
#include "data/text/value_text.h"
#include "vrn_export/format/json_value_text.h"
#include "vrn_export/format/record_encoder.h"
#include "vrn_export/format/record_selection.h"
#include "vrn_export/format/unique_names.h"

namespace vrn::exporter {
namespace {

constexpr std::string_view own_members[] = {"type", "source", "tag", "time"};
// Pieces are copied in steps, so as much can be read after one.
constexpr std::size_t step = TextBuffer::slack;

char *copy_in_steps(char *out, const char *from, std::size_t size) {
    std::memcpy(out, from, step);
    for (std::size_t done = step; done < size; done += step)
        std::memcpy(out + done, from + done, step);
    return out + size;
}

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

// Room for the text of a value.
std::size_t value_room(const RowValue &value) {
    return value.form == ValueForm::text ? std::size_t{value.size} * 6 + 2 : VALUE_TEXT_ROOM + 2;
}

// Rows of one shape: pieces of text that are the same in all of them, each followed by a value.
class RowText {
  public:
    // `members`: what follows the time, from its comma on; `end` closes the record.
    struct Item {
        RowValue value;
        std::string piece;
    };
    RowText(const std::string &type, std::vector<Item> members, const std::string &end, bool is_iso)
        : head_(type), is_iso_(is_iso) {
        for (Item &member : members) {
            pieces_ += member.piece;
            values_.push_back({member.value, static_cast<std::uint32_t>(member.piece.size())});
            room_ += value_room(member.value);
        }
        pieces_ += end;
        end_size_ = end.size();
        room_ += pieces_.size() + time_text_size;
        pieces_.append(step, '\0');
    }

    std::size_t room() const { return room_; }

    void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
               TextBuffer *text) {
        const std::string_view head = head_.of(origin);
        char *out = text->reserve(head.size() + room_);
        std::memcpy(out, head.data(), head.size());
        out = write_json_time(out + head.size(), time, is_iso_);
        const char *piece = pieces_.data();
        for (const auto &[value, piece_size] : values_) {
            out = copy_in_steps(out, piece, piece_size);
            piece += piece_size;
            out = write_value_text(out, value, row, text);
        }
        text->advance_to(copy_in_steps(out, piece, end_size_));
    }

  private:
    [[gnu::always_inline]] char *write_value_text(char *out, const RowValue &value,
                                                  const std::uint8_t *row, TextBuffer *text) {
        switch (value.form) {
            case ValueForm::unsigned_integer:
                return write_integer(out, read_unsigned(value, row));
            case ValueForm::signed_integer:
                return write_integer(out, read_signed(value, row));
            case ValueForm::float32:
            case ValueForm::float64:
                return write_json_double(out, read_double(value, row));
            default:
                return write_other(out, value, row, text);
        }
    }

    char *write_other(char *out, const RowValue &value, const std::uint8_t *row,
                      TextBuffer *text) const {
        switch (value.form) {
            case ValueForm::text:
                text->advance_to(out);
                append_json_text(read_text(value, row), text);
                // The room of all that follows is left of what was reserved.
                return text->reserve(0);
            case ValueForm::time:
                return write_json_time(out, read_unsigned(value, row), is_iso_);
            case ValueForm::bits64:
            case ValueForm::bits128:
                *out++ = '"';
                out = write_bits(out, value, row);
                *out++ = '"';
                return out;
            case ValueForm::unsigned128:
            case ValueForm::signed128:
                return write_wide_integer(out, value, row);
            default:
                std::memcpy(out, "null", 4);
                return out + 4;
        }
    }

    struct Value {
        RowValue value;
        std::uint32_t piece_size;
    };

    Head head_;
    std::string pieces_;
    std::vector<Value> values_;
    std::size_t end_size_;
    std::size_t room_ = 0;
    bool is_iso_;
};

// Makes the pieces of a row of events. See FieldWalk.
class PieceSink {
  public:
    explicit PieceSink(const std::vector<std::string> &names) : names_(names) {}

    void key(const FieldNode &node) {
        if (!is_first_) piece_ += ',';
        is_first_ = false;
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
        items_.push_back({value, std::move(piece_)});
        piece_.clear();
    }

    std::vector<RowText::Item> take() { return std::move(items_); }
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
    std::size_t depth_ = 0;
    bool is_first_ = false;
    std::string piece_;
    std::vector<RowText::Item> items_;
};

RowText event_text(const EventPlan &plan, bool is_iso) {
    std::vector<std::string> names;
    for (const FieldNode &node : plan.fields) names.emplace_back(node.field->field_name);
    names = unique_names(std::move(names), own_members);
    PieceSink sink(names);
    FieldWalk(sink).members(plan.fields, 0);
    return {plan.type->name, sink.take(), sink.end(), is_iso};
}

class NdjsonEvents final : public EventWriter {
  public:
    NdjsonEvents(const EventPlan &plan, bool is_iso)
        : EventWriter(""), plan_(plan), text_(event_text(plan, is_iso)) {}

    void write(const EventRows &rows, const Origin &origin, const Output &out) override {
        for (std::size_t i = 0; i < rows.count; ++i) {
            const std::uint8_t *row = rows.row(i);
            text_.write(plan_.time_of(row, rows.block_time), row, origin, out.text);
        }
    }
    std::size_t row_text_size() const override { return text_.room(); }

  private:
    const EventPlan &plan_;
    RowText text_;
};

RowText group_text(const GroupPlan &plan, bool is_iso) {
    std::vector<std::string> names;
    for (const PlannedCounter &counter : plan.counters) names.push_back(counter.name);
    names = unique_names(std::move(names), own_members);
    std::vector<RowText::Item> items;
    for (std::size_t i = 0; i < names.size(); ++i)
        items.push_back({plan.counters[i].value, "," + tool::json_string(names[i]) + ":"});
    return {plan.name, std::move(items), "}\n", is_iso};
}

class NdjsonGroup final : public GroupWriter {
  public:
    NdjsonGroup(const GroupPlan &plan, bool is_iso)
        : GroupWriter(""), text_(group_text(plan, is_iso)) {}

    void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
               const Output &out) override {
        text_.write(time, row, origin, out.text);
    }

  private:
    RowText text_;
};

void append_time(std::uint64_t time, bool is_iso, TextBuffer *text) {
    text->advance_to(write_json_time(text->reserve(time_text_size), time, is_iso));
}

void append_double(double value, TextBuffer *text) {
    text->advance_to(write_json_double(text->reserve(double_text_size), value));
}

// The last member, and the end of the record.
void append_labels(std::span<const MetricLabel> labels, TextBuffer *text) {
    text->append(",\"labels\":{");
    for (const MetricLabel &label : labels) {
        if (&label != labels.data()) text->append(',');
        append_json_text(label.name, text);
        text->append(':');
        append_json_text(label.value, text);
    }
    text->append("}}\n");
}

class NdjsonMetrics final : public MetricsWriter {
  public:
    explicit NdjsonMetrics(bool is_iso) : MetricsWriter(""), head_("metrics"), is_iso_(is_iso) {}

    void write(const MetricRecord &record, const Origin &origin, const Output &out) override {
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
            append_value(sample, record.form, out.text);
            out.text->append(end_.view());
        }
    }

  private:
    static void append_value(const MetricSample &sample, MetricValueForm form, TextBuffer *text) {
        if (form == MetricValueForm::unsigned_integer)
            text->integer(sample.bits);
        else if (form == MetricValueForm::signed_integer)
            text->integer(sample.as_signed());
        else
            append_double(sample.as_double(), text);
    }

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
        append_double(histogram.sum, text);
        text->append(",\"count\":");
        text->integer(histogram.count);
        text->append(",\"buckets\":[");
        for (const metrics::Bucket &bucket : histogram.buckets) {
            text->append(&bucket == histogram.buckets.data() ? "{\"le\":" : ",{\"le\":");
            append_double(bucket.upper_bound, text);
            text->append(",\"count\":");
            text->integer(bucket.count);
            text->append('}');
        }
        text->append(']');
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
        return std::make_unique<NdjsonEvents>(plan, is_iso_);
    }
    std::unique_ptr<GroupWriter> group_writer(const GroupPlan &plan) override {
        return std::make_unique<NdjsonGroup>(plan, is_iso_);
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
