// A column of labels: a map from name to value in each row.
#pragma once

#include <string>
#include <utility>

#include "sql/engine.h"
#include "sql/metrics_reader.h"

namespace vrn::sql {

ColumnType label_type();

// Fills such a vector; rows may share an entry.
class LabelColumn {
  public:
    // Of a vector without rows.
    explicit LabelColumn(duckdb_vector vector) : vector_(vector) {}

    duckdb_list_entry add(const Labels &labels);
    void put(std::size_t at, std::size_t count, duckdb_list_entry entry);

  private:
    duckdb_vector vector_;
    std::size_t size_ = 0;
    std::size_t room_ = 0;
};

}  // namespace vrn::sql
