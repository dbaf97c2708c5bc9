// The columns that every table of records ends with: `source`, `tag`, `file`.
#pragma once

#include <vector>

#include "sql/column.h"
#include "sql/engine.h"
#include "sql/record_reader.h"

namespace vrn::sql {

inline constexpr std::size_t num_name_columns = 3;

// Numbered where the records have columns of these names.
void add_name_columns(std::vector<Column> *columns);
// `which` counts from 0 for `source`; above that nothing is put.
void put_names(duckdb_vector vector, std::size_t at, std::size_t count, std::size_t which,
               const RecordNames &names);

}  // namespace vrn::sql
