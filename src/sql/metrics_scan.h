// Scans of metrics blocks: what the tables made of them share.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "sql/file_set.h"
#include "sql/metrics_reader.h"
#include "sql/name_columns.h"
#include "sql/row_table.h"
#include "sql/table.h"

namespace vrn::sql {

// Thread is made of (const RecordFilter &, projection, RunQueue *).
template <typename Thread>
class MetricsScan final : public TableScan {
  public:
    MetricsScan(const FileSet &files, const RecordFilter &filter,
                std::vector<std::size_t> projection)
        : filter_(filter),
          projection_(std::move(projection)),
          max_threads_(threads_for(files)),
          queue_(files_in_time(files, filter)) {}

    std::size_t max_threads() const override { return max_threads_; }
    std::unique_ptr<ScanThread> make_thread() override {
        return std::make_unique<Thread>(filter_, projection_, &queue_);
    }

  private:
    // Of the table, which the engine keeps until the query's scans have ended.
    const RecordFilter &filter_;
    std::vector<std::size_t> projection_;
    std::size_t max_threads_;
    RunQueue queue_;
};

// The columns are `columns` and those of names.
template <typename Thread>
class MetricsTable final : public Table {
  public:
    MetricsTable(FileSet files, RecordFilter filter, std::vector<Column> &&columns)
        : files_(std::move(files)), filter_(std::move(filter)) {
        columns_ = std::move(columns);
        add_name_columns(&columns_);
    }

    std::unique_ptr<TableScan> scan(std::vector<std::size_t> projection) const override {
        return std::make_unique<MetricsScan<Thread>>(files_, filter_, std::move(projection));
    }

  private:
    FileSet files_;
    RecordFilter filter_;
};

// The blocks of a query, one after the other.
class BlockStream {
  public:
    BlockStream(const RecordFilter &filter, RunQueue *queue) : reader_(queue, &filter) {}

    // Null at the end. The block before is gone with the call.
    const StagedBlock *next();

  private:
    MetricsReader reader_;
    std::size_t next_ = 0;
};

}  // namespace vrn::sql
