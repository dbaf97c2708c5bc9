#include "sql/sample_thread.h"

#include <algorithm>
#include <bit>
#include <exception>

#include "metrics/store/value_types.h"
#include "sql/name_columns.h"

namespace vrn::sql {
namespace {

using metrics::MetricSample;
using metrics::ValueType;

ValueType value_type(const metrics::RecordHeader &header) {
    return static_cast<ValueType>(header.value_type);
}

}  // namespace

std::vector<Column> sample_columns() {
    return {{"time", {Kind::timestamp}},
            {"metric", {Kind::text}},
            {"labels", label_type()},
            {"value", {Kind::float64}},
            {"exact", {Kind::int128}}};
}

std::size_t SampleThread::fill(duckdb_data_chunk chunk) {
    // All three lead into the vectors of the last chunk, which are gone.
    label_column_.reset();
    labels_.reset();
    std::ranges::fill(names_, std::nullopt);
    const std::size_t room = duckdb_vector_size();
    std::size_t size = 0;
    while (size < room && find_samples()) {
        const std::size_t count = std::min(samples_.size() - used_, room - size);
        put_samples(chunk, size, count);
        size += count;
        used_ += count;
    }
    return size;
}

bool SampleThread::find_samples() {
    while (used_ == samples_.size()) {
        samples_.clear();
        used_ = 0;
        try {
            // A record may have no samples that are wanted: on until one has, or the block ends.
            if (block_ && next_record()) continue;
            block_ = stream_.next();
            if (!block_) return false;
            cursor_.begin(block_->block);
            // Ids of metrics count within a block.
            names_.assign(cursor_.metric_names().size(), std::nullopt);
        } catch (const QueryError &) {
            // A strict session's fault, and memory that is gone, end the query; all else ends the
            // block.
            throw;
        } catch (const std::bad_alloc &) {
            throw;
        } catch (const std::exception &error) {
            // The rest of the block.
            const StagedBlock *damaged = std::exchange(block_, nullptr);
            report_fault(damaged->names->file, error.what());
        }
    }
    return true;
}

bool SampleThread::next_record() {
    if (!cursor_.next()) return false;
    labels_.reset();
    // One fault for a record, whatever is wrong with it: its samples may be many.
    std::string fault = cursor_.fault();
    const metrics::RecordView &record = cursor_.record();
    if (filter_.takes(record.timestamp)) {
        for (std::size_t i = 0; i < record.num_samples(); ++i) {
            const MetricSample sample = record.sample(i);
            if (sample.sample_id < names_.size())
                samples_.push_back(sample);
            else
                fault = "A record names metric " + std::to_string(sample.sample_id) + " of " +
                        std::to_string(names_.size());
        }
    }
    if (!fault.empty()) report_fault(block_->names->file, fault);
    return true;
}

void SampleThread::put_samples(duckdb_data_chunk chunk, std::size_t at, std::size_t count) {
    for (std::size_t i = 0; i < projection_.size(); ++i) {
        const duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, i);
        const std::size_t place = projection_[i];
        switch (place) {
            case sample_time:
                std::fill_n(vector_data<std::int64_t>(vector) + at, count,
                            to_engine_time(cursor_.record().timestamp));
                break;
            case sample_metric:
                put_metric_names(vector, at, count);
                break;
            case sample_labels:
                put_labels(vector, at, count);
                break;
            case sample_value:
                put_values(vector, at, count);
                break;
            case sample_exact:
                put_exact_values(vector, at, count);
                break;
            default:
                put_names(vector, at, count, place - num_sample_columns, *block_->names);
        }
    }
}

void SampleThread::put_metric_names(duckdb_vector vector, std::size_t at, std::size_t count) {
    auto *rows = vector_data<duckdb_string_t>(vector);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t id = samples_[used_ + i].sample_id;
        // A text is stored once for a chunk; other rows get a copy of the reference to it.
        if (names_[id]) {
            rows[at + i] = *names_[id];
        } else {
            put_text(vector, at + i, cursor_.metric_names()[id]);
            names_[id] = rows[at + i];
        }
    }
}

void SampleThread::put_labels(duckdb_vector vector, std::size_t at, std::size_t count) {
    if (!label_column_) label_column_.emplace(vector);
    if (!labels_) labels_ = label_column_->add(cursor_.labels());
    label_column_->put(at, count, *labels_);
}

void SampleThread::put_values(duckdb_vector vector, std::size_t at, std::size_t count) const {
    double *to = vector_data<double>(vector) + at;
    const ValueType type = value_type(cursor_.header());
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t bits = samples_[used_ + i].sample_value;
        // Beyond 2^53 a double rounds: that is what `exact` is for.
        if (type == ValueType::float64)
            to[i] = std::bit_cast<double>(bits);
        else if (type == ValueType::int64)
            to[i] = static_cast<double>(static_cast<std::int64_t>(bits));
        else
            to[i] = static_cast<double>(bits);
    }
}

void SampleThread::put_exact_values(duckdb_vector vector, std::size_t at, std::size_t count) const {
    const ValueType type = value_type(cursor_.header());
    if (type == ValueType::float64) return put_nulls(vector, at, count);
    // 128 bits, since no narrower type holds both signed and unsigned values of 64.
    auto *to = vector_data<duckdb_hugeint>(vector) + at;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t bits = samples_[used_ + i].sample_value;
        const bool is_negative = type == ValueType::int64 && static_cast<std::int64_t>(bits) < 0;
        to[i] = {bits, is_negative ? -1 : 0};
    }
}

}  // namespace vrn::sql
