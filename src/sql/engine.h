// The engine's C interface, and owners of what it hands out.
#pragma once

#include <duckdb_extension.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "sql/column.h"

// The stable functions, which the engine hands over when it loads the extension.
DUCKDB_EXTENSION_EXTERN

namespace vrn::sql {

// Moves only, so that each type is destroyed once.
class LogicalType {
  public:
    explicit LogicalType(duckdb_logical_type type) : type_(type) {}
    explicit LogicalType(duckdb_type id) : type_(duckdb_create_logical_type(id)) {}
    ~LogicalType() { duckdb_destroy_logical_type(&type_); }
    LogicalType(LogicalType &&other) noexcept : type_(std::exchange(other.type_, nullptr)) {}
    LogicalType &operator=(LogicalType &&) = delete;
    duckdb_logical_type get() const { return type_; }

  private:
    duckdb_logical_type type_;
};

LogicalType make_logical_type(const ColumnType &type);

class Value {
  public:
    explicit Value(duckdb_value value) : value_(value) {}
    ~Value() { duckdb_destroy_value(&value_); }
    Value(const Value &) = delete;
    Value &operator=(const Value &) = delete;
    // False when it is missing or NULL.
    bool is_set() const { return value_ && !duckdb_is_null_value(value_); }
    duckdb_value get() const { return value_; }
    // Of any value that is set.
    std::string text() const;

  private:
    duckdb_value value_;
};

// The engine's largest time is its infinity: later ones are that.
inline std::int64_t to_engine_time(std::uint64_t micros) {
    constexpr auto infinity = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min<std::uint64_t>(micros, infinity));
}

// Puts `text` at row `at` of a vector; what is no UTF-8 of it is replaced.
void put_text(duckdb_vector vector, std::size_t at, std::string_view text);
// The same in `count` rows from `at` on.
void put_texts(duckdb_vector vector, std::size_t at, std::size_t count, std::string_view text);
void put_nulls(duckdb_vector vector, std::size_t at, std::size_t count);

template <typename T>
T *vector_data(duckdb_vector vector) {
    return static_cast<T *>(duckdb_vector_get_data(vector));
}

}  // namespace vrn::sql
