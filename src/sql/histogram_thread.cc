#include "sql/histogram_thread.h"

#include <algorithm>
#include <exception>
#include <optional>

#include "sql/name_columns.h"
#include "utils/log_capture.h"

namespace vrn::sql {

std::vector<Column> histogram_columns() {
    const ColumnType bucket = {
        Kind::structure, 0, {{"upper_bound", {Kind::float64}}, {"count", {Kind::uint64}}}};
    return {{"time", {Kind::timestamp}}, {"histogram", {Kind::text}},
            {"labels", label_type()},    {"buckets", {Kind::list, 0, {{"bucket", bucket}}}},
            {"sum", {Kind::float64}},    {"count", {Kind::uint64}}};
}

std::size_t HistogramThread::fill(duckdb_data_chunk chunk) {
    // The lists of a chunk have their elements in one vector, which begins anew with the chunk.
    num_buckets_ = 0;
    std::size_t size = 0;
    // None when the query doesn't ask for labels, which take time to resolve.
    std::optional<LabelColumn> label_column;
    const auto place = std::ranges::find(projection_, histogram_labels);
    if (place != projection_.end())
        label_column.emplace(duckdb_data_chunk_get_vector(
            chunk, static_cast<std::size_t>(place - projection_.begin())));
    for (; size < duckdb_vector_size() && find_histogram(); ++size, ++next_) {
        put(chunk, size);
        if (!label_column) continue;
        const metrics::Histogram &histogram = histograms_[next_];
        const metrics::LabelMap resolved =
            metrics::resolve_labels(tables_, histogram.label_set_id, histogram.label_values);
        Labels labels(resolved.begin(), resolved.end());
        // By name, so that equal label sets are equal maps, whatever order they were found in.
        std::ranges::sort(labels);
        label_column->put(size, 1, label_column->add(labels));
    }
    return size;
}

bool HistogramThread::find_histogram() {
    while (next_ == histograms_.size()) {
        block_ = stream_.next();
        if (!block_) return false;
        next_ = 0;
        histograms_.clear();
        try {
            read_block();
        } catch (const QueryError &) {
            // A strict session's fault, and memory that is gone, end the query; all else ends the
            // block.
            throw;
        } catch (const std::bad_alloc &) {
            throw;
        } catch (const std::exception &error) {
            report_fault(block_->names->file, error.what());
        }
    }
    return true;
}

void HistogramThread::read_block() {
    tables_ = metrics::CntxBlockTables::parse(block_->block);
    if (!tables_.has_all_histograms)
        report_fault(block_->names->file, "A histogram of a metrics block is damaged");
    auto &found = tables_.histograms.histograms;
    // In the order of their sections, from which they have the ids 0, 1, 2, ...
    for (std::uint64_t id = 0; id < found.size(); ++id) {
        metrics::Histogram &histogram = found.at(id);
        if (!filter_.takes(histogram.timestamp)) continue;
        const std::size_t names = tables_.names_of(histogram.label_set_id).size();
        if (histogram.label_values.size() > names) {
            report_fault(block_->names->file, "A histogram has more labels than names");
            histogram.label_values.resize(names);
        }
        histograms_.push_back(std::move(histogram));
    }
}

void HistogramThread::put(duckdb_data_chunk chunk, std::size_t at) {
    const metrics::Histogram &histogram = histograms_[next_];
    for (std::size_t i = 0; i < projection_.size(); ++i) {
        const duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, i);
        const std::size_t place = projection_[i];
        switch (place) {
            case histogram_time:
                vector_data<std::int64_t>(vector)[at] = to_engine_time(histogram.timestamp);
                break;
            case histogram_name:
                put_text(vector, at, histogram.name);
                break;
            case histogram_labels:
                break;  // by fill()
            case histogram_buckets:
                put_buckets(vector, at);
                break;
            case histogram_sum:
                vector_data<double>(vector)[at] = histogram.sum;
                break;
            case histogram_count:
                vector_data<std::uint64_t>(vector)[at] = histogram.count;
                break;
            default:
                put_names(vector, at, 1, place - num_histogram_columns, *block_->names);
        }
    }
}

void HistogramThread::put_buckets(duckdb_vector vector, std::size_t at) {
    const std::vector<metrics::Bucket> &buckets = histograms_[next_].buckets;
    const std::size_t first = num_buckets_;
    num_buckets_ += buckets.size();
    // Before the elements' places are asked for: the engine may move them.
    duckdb_list_vector_reserve(vector, num_buckets_);
    const duckdb_vector elements = duckdb_list_vector_get_child(vector);
    auto *bounds = vector_data<double>(duckdb_struct_vector_get_child(elements, 0));
    auto *counts = vector_data<std::uint64_t>(duckdb_struct_vector_get_child(elements, 1));
    for (std::size_t i = 0; i < buckets.size(); ++i) {
        bounds[first + i] = buckets[i].upper_bound;
        counts[first + i] = buckets[i].count;
    }
    duckdb_list_vector_set_size(vector, num_buckets_);
    vector_data<duckdb_list_entry>(vector)[at] = {first, buckets.size()};
}

}  // namespace vrn::sql
