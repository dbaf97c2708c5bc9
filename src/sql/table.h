// What a table function makes of its arguments, and how the engine reads it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sql/column.h"
#include "sql/engine.h"

namespace vrn::sql {

// A thread of a scan.
class ScanThread {
  public:
    virtual ~ScanThread() = default;
    // Fills the columns of the projection and returns the number of rows; 0 ends the thread's part.
    // Throws QueryError.
    virtual std::size_t fill(duckdb_data_chunk chunk) = 0;
};

class TableScan {
  public:
    virtual ~TableScan() = default;
    virtual std::size_t max_threads() const = 0;
    // For each thread one. By any thread; the scan outlives them.
    virtual std::unique_ptr<ScanThread> make_thread() = 0;
};

// Bound to its arguments; scans of it may run at a time.
class Table {
  public:
    virtual ~Table() = default;
    const std::vector<Column> &columns() const { return columns_; }
    // Of the columns with the given places. For count(*) some engines ask for a column beyond them,
    // of which nothing needs to be filled.
    virtual std::unique_ptr<TableScan> scan(std::vector<std::size_t> projection) const = 0;

  protected:
    std::vector<Column> columns_;
};

}  // namespace vrn::sql
