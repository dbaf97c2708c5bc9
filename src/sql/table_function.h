// The border to the engine's C interface: table functions, their arguments, errors.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sql/record_reader.h"
#include "sql/table.h"

namespace vrn::sql {

// The arguments of a call.
class BindArguments {
  public:
    explicit BindArguments(duckdb_bind_info info) : info_(info) {}

    // The first argument: a path or a list of paths. Throws QueryError.
    std::vector<std::string> paths() const;
    // Empty when it isn't given.
    std::string text(const char *name) const;
    // `source`, `since` and `until`.
    RecordFilter filter() const;

  private:
    duckdb_bind_info info_;
};

struct TableFunction {
    const char *name;
    std::unique_ptr<Table> (*bind)(const BindArguments &arguments);  // may throw
    std::vector<const char *> texts;                                 // named arguments of texts
    bool takes_times;                                                // `since` and `until`
};

// `function` is borrowed for as long as the engine lives. False when the engine refuses.
[[nodiscard]] bool register_table_function(duckdb_connection connection,
                                           const TableFunction &function);

}  // namespace vrn::sql
