#include "vrn_export/format/csv_format.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/command_line.h"
#include "data/text/utf8.h"
#include "utils/utf8.h"
#include "vrn_export/format/csv_tables.h"
#include "vrn_export/format/json_value_text.h"
#include "vrn_export/format/record_encoder.h"
#include "vrn_export/format/row_text.h"
#include "vrn_export/format/unique_names.h"

namespace vrn::exporter {
namespace {

// Each table begins with them, so no field's column may bear their names.
constexpr std::string_view own_columns[] = {"time", "source", "tag"};
constexpr std::string_view line_end = "\r\n";
constexpr char metrics_table[] = "metrics", histograms_table[] = "histograms";
const Columns metrics_columns = {"metric", "kind", "value", "labels"};
const Columns histogram_columns = {"metric", "sum", "count", "buckets", "labels"};

// UTF-8 without zero bytes.
std::string repaired(std::string_view text) {
    std::string good;
    while (!text.empty()) {
        const Utf8Character character = first_utf8_character(text);
        text.remove_prefix(character.bytes.size());
        if (character.is_bad_byte() || character.code == 0)
            good += "\xEF\xBF\xBD";
        else
            good += character.bytes;
    }
    return good;
}

void append_sound_text(std::string_view text, TextBuffer *to) {
    if (!text.empty() && text.find_first_of(",\"\r\n") == text.npos) return to->append(text);
    to->append('"');
    for (const char character : text) {
        if (character == '"') to->append('"');
        to->append(character);
    }
    to->append('"');
}

// Quoted where it must be, and when it is empty: no value has no quotes.
void append_csv_text(std::string_view text, TextBuffer *to) {
    const bool is_sound = is_ascii(text) ? text.find('\0') == text.npos : false;
    if (is_sound || (is_utf8(text) && text.find('\0') == text.npos))
        append_sound_text(text, to);
    else
        append_sound_text(repaired(text), to);
}

// The columns of where a record comes from, with their commas: the same for many of them.
class OriginColumns {
  public:
    std::string_view of(const Origin &origin) {
        if (origin.serial != serial_) {
            text_.clear();
            for (const std::string &name : {origin.source, origin.tag}) {
                text_.append(',');
                append_csv_text(name, &text_);
            }
            serial_ = origin.serial;
        }
        return text_.view();
    }

  private:
    TextBuffer text_;
    // Serials begin at 1, so the first origin is always a new one.
    std::uint64_t serial_ = 0;
};

char *write_csv_time(char *out, std::uint64_t time, bool is_iso) {
    char *const end = is_iso ? write_iso_time(out, time) : out;
    return end != out ? end : write_integer(out, time);
}

// See RowText.
class CsvStyle {
  public:
    explicit CsvStyle(bool is_iso) : is_iso_(is_iso) {}

    static constexpr std::string_view missing = "";
    static constexpr std::string_view quote = "";

    static std::string_view before_time(const Origin & /*origin*/) { return ""; }
    std::string_view after_time(const Origin &origin) { return origin_.of(origin); }
    char *write_time(char *out, std::uint64_t time) const {
        return write_csv_time(out, time, is_iso_);
    }
    static char *write_double(char *out, double value, RecordCounts *counts) {
        // CSV has no word for what is no finite number; the column stays empty.
        if (std::isfinite(value)) return write_finite_double(out, value);
        ++counts->dropped_values;
        return out;
    }
    static char *write_text(char *out, Bytes field, TextBuffer *to) {
        to->advance_to(out);
        append_csv_text(text_of(field), to);
        return to->reserve(0);
    }

  private:
    OriginColumns origin_;
    bool is_iso_;
};

using CsvRow = RowText<CsvStyle>;

Columns columns_of(const std::vector<Leaf> &leaves) {
    std::vector<std::string> names;
    names.reserve(leaves.size());
    for (const Leaf &leaf : leaves) names.push_back(leaf.name);
    return unique_names(std::move(names), own_columns);
}

Columns columns_of(const GroupPlan &plan) {
    std::vector<std::string> names;
    names.reserve(plan.counters.size());
    for (const PlannedCounter &counter : plan.counters) names.push_back(counter.name);
    return unique_names(std::move(names), own_columns);
}

// `values` stand at the positions of `place`; all other columns are empty.
// What stands before a value is a comma for each column since the one before it, so values go in
// the order of the table's columns, not of the schema's.
CsvRow make_row(const TablePlace &place, const std::vector<RowValue> &values, bool is_iso) {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, {}, [&](std::size_t i) { return place.positions[i]; });
    std::vector<RowItem> items;
    std::size_t column = 0;
    for (const std::size_t i : order) {
        const std::size_t next = place.positions[i] + 1;
        items.push_back({std::string(next - column, ','), values[i]});
        column = next;
    }
    return {CsvStyle(is_iso), items,
            std::string(place.num_columns - column, ',') + std::string(line_end)};
}

// Ends a row of whose table's columns the first `written` stand there.
void end_row(const TablePlace &place, std::size_t written, TextBuffer *text) {
    text->append(place.num_columns - written, ',');
    text->append(line_end);
}

class CsvMetrics final : public MetricsWriter {
  public:
    CsvMetrics(TablePlace place, bool is_iso)
        : MetricsWriter(place.table), place_(std::move(place)), is_iso_(is_iso) {}

    void write(const MetricRecord &record, const Origin &origin, const Output &out) override {
        // Samples of a record differ in name and value only: all else is made once.
        start_.clear();
        start_.advance_to(write_csv_time(start_.reserve(time_text_size), record.time, is_iso_));
        start_.append(origin_.of(origin));
        start_.append(',');
        json_.clear();
        append_json_labels(record.labels, &json_);
        end_.clear();
        end_.append(',');
        append_csv_text(json_.view(), &end_);
        end_row(place_, metrics_columns.size(), &end_);
        for (const MetricSample &sample : record.samples) {
            out.text->append(start_.view());
            append_csv_text(sample.name, out.text);
            out.text->append(record.is_counter ? ",counter," : ",gauge,");
            append_value(sample, record.form, out);
            out.text->append(end_.view());
        }
    }

  private:
    static void append_value(const MetricSample &sample, MetricValueForm form, const Output &out) {
        const std::size_t start = out.text->size();
        const std::uint64_t dropped = out.counts->dropped_values;
        append_json_number(sample, form, out);
        // JSON has written null; here no value is an empty column.
        if (out.counts->dropped_values != dropped) out.text->cut(start);
    }

    TablePlace place_;
    OriginColumns origin_;
    bool is_iso_;
    TextBuffer start_;  // of all samples of a record
    TextBuffer end_;
    TextBuffer json_;
};

class CsvHistograms final : public HistogramWriter {
  public:
    CsvHistograms(TablePlace place, bool is_iso)
        : HistogramWriter(place.table), place_(std::move(place)), is_iso_(is_iso) {}

    void write(const HistogramRecord &record, const Origin &origin, const Output &out) override {
        const metrics::Histogram &histogram = record.histogram;
        TextBuffer *text = out.text;
        char *end = write_csv_time(text->reserve(time_text_size), histogram.timestamp, is_iso_);
        text->advance_to(end);
        text->append(origin_.of(origin));
        text->append(',');
        append_csv_text(histogram.name, text);
        text->append(',');
        end = CsvStyle::write_double(text->reserve(double_text_size), histogram.sum, out.counts);
        text->advance_to(end);
        text->append(',');
        text->integer(histogram.count);
        TextBuffer json;
        append_json_buckets(histogram, {&json, out.counts});
        text->append(',');
        append_csv_text(json.view(), text);
        json.clear();
        append_json_labels(record.labels, &json);
        text->append(',');
        append_csv_text(json.view(), text);
        end_row(place_, histogram_columns.size(), text);
    }

  private:
    TablePlace place_;
    OriginColumns origin_;
    bool is_iso_;
};

class CsvRecords final : public RecordFormat {
  public:
    CsvRecords(CsvTables *tables, bool is_iso) : tables_(*tables), is_iso_(is_iso) {}

    std::unique_ptr<EventWriter> event_writer(const EventPlan &plan) override {
        const std::vector<Leaf> leaves = flatten(plan);
        std::vector<RowValue> values;
        values.reserve(leaves.size());
        for (const Leaf &leaf : leaves) values.push_back(leaf.value);
        // May bring a new table: rows may be of a schema that no header named.
        const TablePlace place = tables_.find(plan.type->name, columns_of(leaves));
        return std::make_unique<EventRowWriter<CsvStyle>>(place.table, plan,
                                                          make_row(place, values, is_iso_));
    }
    std::unique_ptr<GroupWriter> group_writer(const GroupPlan &plan) override {
        std::vector<RowValue> values;
        values.reserve(plan.counters.size());
        for (const PlannedCounter &counter : plan.counters) values.push_back(counter.value);
        const TablePlace place = tables_.find(plan.name, columns_of(plan));
        return std::make_unique<GroupRowWriter<CsvStyle>>(place.table,
                                                          make_row(place, values, is_iso_));
    }
    std::unique_ptr<MetricsWriter> metrics_writer() override {
        return std::make_unique<CsvMetrics>(tables_.find(metrics_table, metrics_columns), is_iso_);
    }
    std::unique_ptr<HistogramWriter> histogram_writer() override {
        return std::make_unique<CsvHistograms>(tables_.find(histograms_table, histogram_columns),
                                               is_iso_);
    }

  private:
    CsvTables &tables_;
    bool is_iso_;
};

class CsvFormat final : public Format {
  public:
    explicit CsvFormat(const FormatOptions &options)
        : selection_(options.selection), is_iso_(options.iso_times) {
        if (!options.tag_fields.empty())
            throw tool::UsageError("Tables of csv have no tags to choose");
        // Known from the start: no schema names these tables.
        tables_.learn(metrics_table, metrics_columns);
        tables_.learn(histograms_table, histogram_columns);
    }

    std::unique_ptr<Encoder> make_encoder() const override {
        return std::make_unique<RecordEncoder>(&selection_,
                                               std::make_unique<CsvRecords>(&tables_, is_iso_));
    }
    bool takes_file(const vrn_data_file_header_t &header) const override {
        return selection_.takes_file(header);
    }
    const char *suffix() const override { return ".csv"; }
    bool has_file_per_table() const override { return true; }
    bool wants_schemas() const override { return true; }

    void learn(const scan::LoadedSchemas &schemas) override {
        const vrn_type_system_t *system = schemas.type_system.get();
        for (std::size_t i = 0; system && i < system->num_schemas; ++i)
            for (std::size_t j = 0; j < system->schemas[i]->num_types; ++j)
                learn_type(*system->schemas[i]->types[j]);
        if (!schemas.has_counters()) return;
        for (const GroupPlan &plan : make_group_plans(*schemas.counters_schema(), selection_))
            learn_table(plan.name, columns_of(plan));
    }

    std::string head(const std::string &table) const override {
        TextBuffer text;
        text.append("time,source,tag");
        for (const std::string &column : tables_.columns_of(table)) {
            text.append(',');
            append_csv_text(column, &text);
        }
        text.append(line_end);
        return std::string(text.view());
    }

  private:
    void learn_type(const vrn_type_definition_t &type) {
        const EventPlan plan = make_event_plan(type, selection_);
        if (!plan.fields.empty() && is_within(plan, max_learned_values, max_learned_name_bytes))
            learn_table(type.name, columns_of(flatten(plan)));
    }

    // What bears the name of a table of ours has another one, for its columns.
    void learn_table(const std::string &name, Columns columns) {
        if (name != metrics_table && name != histograms_table)
            tables_.learn(name, std::move(columns));
    }

    RecordSelection selection_;
    bool is_iso_;
    // Rows of schemas that no header names bring tables of their own while encoders work.
    mutable CsvTables tables_;
};

}  // namespace

std::unique_ptr<Format> make_csv_format(const FormatOptions &options) {
    return std::make_unique<CsvFormat>(options);
}

}  // namespace vrn::exporter
