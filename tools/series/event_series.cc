#include "series/event_series.h"

#include "utils/byte_reader.h"

namespace vrn::series {
namespace {

// Texts that differ give keys that differ.
void append_to_key(const std::string &text, std::string *key) {
    key->append(std::to_string(text.size())).append(":").append(text);
}

}  // namespace

EventSeries::EventSeries(const vrn_type_definition_t &type,
                         const std::vector<std::string> &label_fields,
                         metrics::MetricsHistory *store)
    : store_(store),
      columns_(
          find_event_columns(type, label_fields,
                             [store](const std::string &name) { return store->takes_name(name); })),
      takes_all_numbers_(columns_.is_whole) {}

void EventSeries::store(const scan::EventBatch &batch, const std::string &source) {
    if (columns_.columns.empty()) return;
    for (std::size_t i = 0; i < batch.count; ++i) {
        const std::uint8_t *row = batch.row(i);
        std::uint64_t time = 0;
        if (columns_.time_offset) time = load_le<std::uint64_t>(row + *columns_.time_offset);
        // A row without a time of its own has that of its block.
        if (time == 0) time = batch.header.timestamp;
        const RowSeries &series = series_of(source, row);
        for (std::size_t column = 0; column < series.size(); ++column)
            if (series[column])
                push_value(*series[column], time, number_bits(columns_.columns[column].place, row),
                           store_);
    }
}

const EventSeries::RowSeries &EventSeries::series_of(const std::string &source,
                                                     const std::uint8_t *row) {
    std::string key;
    append_to_key(source, &key);
    std::vector<std::string> texts;
    for (const EventLabel &label : columns_.labels) {
        texts.push_back(label.text(row));
        append_to_key(texts.back(), &key);
    }
    const auto found = series_.find(key);
    if (found != series_.end()) return found->second;
    return series_.emplace(key, open_row_series(source, texts)).first->second;
}

EventSeries::RowSeries EventSeries::open_row_series(const std::string &source,
                                                    const std::vector<std::string> &texts) {
    metrics::LabelMap labels;
    if (!source.empty()) labels["source"] = source;
    // After the source: a label field of that name is what the user asked for.
    for (std::size_t i = 0; i < texts.size(); ++i) labels[columns_.labels[i].name] = texts[i];
    const std::uint64_t label_set = store_->intern_labels(labels);
    RowSeries series;
    for (const EventColumn &column : columns_.columns) {
        series.push_back(open_series(column.name, column.value_type(), column.is_running_sum,
                                     label_set, store_));
        if (!series.back()) takes_all_numbers_ = false;
    }
    return series;
}

}  // namespace vrn::series
