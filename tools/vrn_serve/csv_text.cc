#include "vrn_serve/csv_text.h"

#include <memory>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "vrn_serve/series_list.h"

namespace vrn::serve {
namespace {

// RFC 4180 ends rows so on all systems.
constexpr char row_end[] = "\r\n";

std::string field_of(const std::string &text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string field = "\"";
    for (const char character : text) {
        if (character == '"') field += '"';
        field += character;
    }
    return field + '"';
}

std::string labels_text(const NamedSeries &series) {
    std::string text;
    for (const auto &[name, value] : series.labels) {
        if (!text.empty()) text += '|';
        text.append(name).append("=").append(value);
    }
    return text;
}

void append_rows(const NamedSeries &series, const metrics::Samples &samples, std::string *out) {
    const std::string middle =
        "," + field_of(series.name) + "," + field_of(labels_text(series)) + ",";
    // A live store holds numbers only; other types of the variant have no rows.
    const auto append = [&]<typename T>(const std::vector<T> &values) {
        if constexpr (std::is_arithmetic_v<T>)
            for (std::size_t i = 0; i < values.size(); ++i)
                *out +=
                    number_text(samples.timestamps[i]) + middle + number_text(values[i]) + row_end;
    };
    std::visit(append, samples.values);
}

// A table in pieces: of one series each, as the store has it when its turn comes.
struct Table {
    const LiveStore *store;
    std::vector<NamedSeries> series;
    std::size_t next = 0;
    bool has_begun = false;

    bool next_piece(std::string *piece) {
        piece->clear();
        if (!std::exchange(has_begun, true))
            piece->append("time,metric,labels,value").append(row_end);
        // An empty piece would count as the end: series without samples are passed over.
        for (; piece->empty() && next < series.size(); ++next) {
            metrics::Samples samples;  // stay empty for a series that is gone
            store->read([&](const metrics::MetricsHistory &history) {
                static_cast<void>(history.samples_in_range(series[next].key, 0, 0, &samples));
            });
            append_rows(series[next], samples, piece);
        }
        return !piece->empty();
    }
};

}  // namespace

Answer::NextPiece make_csv(const LiveStore *store,
                           const std::function<bool(const std::string &name)> &takes) {
    // std::function copies its target, and all copies must go on with the same table.
    const auto table = std::make_shared<Table>(Table{.store = store, .series = {}});
    store->read(
        [&](const metrics::MetricsHistory &history) { table->series = list_series(history); });
    std::erase_if(table->series, [&](const NamedSeries &series) { return !takes(series.name); });
    return [table](std::string *piece) { return table->next_piece(piece); };
}

}  // namespace vrn::serve
