#include "sql/engine.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "data/text/utf8.h"
#include "sql/clean_text.h"

namespace vrn::sql {
namespace {

// In the order of Kind; composite types are made.
constexpr std::array plain_types{
    DUCKDB_TYPE_BOOLEAN,  DUCKDB_TYPE_TINYINT,   DUCKDB_TYPE_SMALLINT, DUCKDB_TYPE_INTEGER,
    DUCKDB_TYPE_BIGINT,   DUCKDB_TYPE_HUGEINT,   DUCKDB_TYPE_UTINYINT, DUCKDB_TYPE_USMALLINT,
    DUCKDB_TYPE_UINTEGER, DUCKDB_TYPE_UBIGINT,   DUCKDB_TYPE_UHUGEINT, DUCKDB_TYPE_FLOAT,
    DUCKDB_TYPE_DOUBLE,   DUCKDB_TYPE_TIMESTAMP, DUCKDB_TYPE_VARCHAR,
};

LogicalType make_structure(const ColumnType &type) {
    // The engine copies the types that it is given: ours live until it has.
    std::vector<LogicalType> owners;
    std::vector<duckdb_logical_type> types;
    std::vector<const char *> names;
    owners.reserve(type.members.size());
    types.reserve(type.members.size());
    names.reserve(type.members.size());
    for (const Column &member : type.members) {
        owners.push_back(make_logical_type(member.type));
        types.push_back(owners.back().get());
        names.push_back(member.name.c_str());
    }
    return LogicalType(duckdb_create_struct_type(types.data(), names.data(), types.size()));
}

}  // namespace

LogicalType make_logical_type(const ColumnType &type) {
    switch (type.kind) {
        case Kind::array:
            return LogicalType(duckdb_create_array_type(
                make_logical_type(type.members[0].type).get(), type.length));
        case Kind::list:
            return LogicalType(
                duckdb_create_list_type(make_logical_type(type.members[0].type).get()));
        case Kind::structure:
            return make_structure(type);
        case Kind::map:
            return LogicalType(
                duckdb_create_map_type(make_logical_type(type.members[0].type).get(),
                                       make_logical_type(type.members[1].type).get()));
        default:
            return LogicalType(plain_types[static_cast<std::size_t>(type.kind)]);
    }
}

std::string Value::text() const {
    // The engine's own conversion to text, whatever the value's type; the text is ours to free.
    char *text = duckdb_get_varchar(value_);
    std::string copy = text ? text : "";
    duckdb_free(text);
    return copy;
}

void put_text(duckdb_vector vector, std::size_t at, std::string_view text) {
    // A short text stands in the row itself, which needs neither the engine's heap nor a call to
    // it.
    constexpr std::size_t max_inlined = sizeof(duckdb_string_t::value.inlined.inlined);
    if (text.size() <= max_inlined && is_ascii(text)) {
        duckdb_string_t value{};
        value.value.inlined.length = static_cast<std::uint32_t>(text.size());
        std::ranges::copy(text, value.value.inlined.inlined);
        vector_data<duckdb_string_t>(vector)[at] = value;
    } else if (is_utf8(text)) {
        duckdb_vector_assign_string_element_len(vector, at, text.data(), text.size());
    } else {
        const std::string clean = clean_text(text);
        duckdb_vector_assign_string_element_len(vector, at, clean.data(), clean.size());
    }
}

// A long text is stored once: the vector owns it, whatever row leads to it.
void put_texts(duckdb_vector vector, std::size_t at, std::size_t count, std::string_view text) {
    if (count == 0) return;
    put_text(vector, at, text);
    auto *rows = vector_data<duckdb_string_t>(vector);
    std::fill_n(rows + at + 1, count - 1, rows[at]);
}

void put_nulls(duckdb_vector vector, std::size_t at, std::size_t count) {
    // A vector has no mask, and all of its rows are valid, until one is asked for.
    duckdb_vector_ensure_validity_writable(vector);
    std::uint64_t *validity = duckdb_vector_get_validity(vector);
    for (std::size_t i = 0; i < count; ++i) duckdb_validity_set_row_invalid(validity, at + i);
}

}  // namespace vrn::sql
