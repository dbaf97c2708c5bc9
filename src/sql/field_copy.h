// Values on their way from the bytes of records into a vector.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sql/engine.h"
#include "sql/record_field.h"

namespace vrn::sql {

// Records in equal steps; of each `held` bytes are there, after which all reads as zeros.
struct RecordSpan {
    const std::uint8_t *first;
    std::size_t stride;
    std::size_t held;
    std::size_t count;
};

// Fills a column of a type that holds those of the field.
class FieldCopy {
  public:
    FieldCopy(const RecordField &from, const ColumnType &to);
    // NULLs, for records that lack the column.
    explicit FieldCopy(const ColumnType &to);

    // Into the rows from `at` on.
    void copy(const RecordSpan &records, duckdb_vector vector, std::size_t at) const {
        copy_(*this, records, vector, at);
    }

  private:
    // A plain pointer and no virtual call: copies are values, in a vector for each layout.
    using Copy = void (*)(const FieldCopy &, const RecordSpan &, duckdb_vector, std::size_t);

    template <typename From, typename To>
    static void copy_numbers(const FieldCopy &field, const RecordSpan &records,
                             duckdb_vector vector, std::size_t at);
    static void copy_texts(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                           std::size_t at);
    static void copy_arrays(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                            std::size_t at);
    static void copy_lists(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                           std::size_t at);
    static void copy_null_lists(const FieldCopy &field, const RecordSpan &records,
                                duckdb_vector vector, std::size_t at);
    static void copy_structures(const FieldCopy &field, const RecordSpan &records,
                                duckdb_vector vector, std::size_t at);
    static void copy_nulls(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                           std::size_t at);
    static Copy number_copy(Kind from, Kind to);

    Copy copy_ = copy_nulls;
    std::uint64_t offset_ = 0;
    std::uint64_t size_ = 0;
    // Of an array; 0 tells copy_nulls() that the parts are members, not elements.
    std::uint32_t length_ = 0;
    std::vector<FieldCopy> parts_;
};

}  // namespace vrn::sql
