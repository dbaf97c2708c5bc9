// The columns of tables.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace vrn::exporter {

using Columns = std::vector<std::string>;

// Where rows with certain columns go.
struct TablePlace {
    std::string table;
    std::vector<std::size_t> positions;  // of each of their columns among those of the table
    std::size_t num_columns;             // of the table
};

// Tables that are learned have all columns of their kind of rows, in an order that doesn't hang on
// that of the learning: column lists are joined one after the other as they sort. Rows with other
// columns have a table of their own.
class CsvTables {
  public:
    // All before the first find(). What would take too much memory is left out; it counts as not
    // learned then.
    void learn(const std::string &table, Columns columns);

    // By any thread. Columns of one row are distinct.
    TablePlace find(const std::string &table, const Columns &columns);
    // Of a table that find() has told or that was learned.
    Columns columns_of(const std::string &table);

  private:
    static constexpr std::size_t max_learned_bytes = 256 << 20;

    void join_learned();

    std::mutex mutex_;
    std::size_t learned_bytes_ = 0;
    std::map<std::string, std::set<Columns>> learned_;
    std::map<std::string, Columns> tables_;
    bool has_joined_ = false;
};

}  // namespace vrn::exporter
