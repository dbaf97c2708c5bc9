// The engine with the extension in it, and the views of a run's files.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sql/session.h"
#include "vrn_sql/engine_library.h"

namespace vrn::sqltool {

// The engine's words; may be several lines.
class EngineError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A NULL has no data.
using Row = std::vector<std::string_view>;

class Database {
  public:
    // Throws std::runtime_error. Rows come in file order if `is_ordered`.
    explicit Database(bool is_ordered);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    vrn_sql_session_t *session() const { return session_; }
    bool is_ordered() const { return is_ordered_; }

    // Throw EngineError.
    void run(const std::string &statement);
    // Of texts; columns of other types read as NULL. `begin` gets their names, `show` each row.
    void fetch(const std::string &statement,
               const std::function<void(const std::vector<std::string> &names)> &begin,
               const std::function<void(const Row &row)> &show);
    duckdb_statement_type type_of(const std::string &statement);

    // By any thread: ends the statement that runs.
    void cancel();

    // Makes `paths` the files of the views. Returns what keeps views from being made, a line each.
    // Schemas are in `schema_folder` unless that is empty.
    std::vector<std::string> make_views(const std::vector<std::string> &paths,
                                        const std::string &schema_folder);

  private:
    const bool is_ordered_;
    duckdb_database database_ = nullptr;
    duckdb_connection connection_ = nullptr;
    // Of the extension; lives as long as the process.
    vrn_sql_session_t *session_ = nullptr;
};

}  // namespace vrn::sqltool
