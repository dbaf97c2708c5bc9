// Columns of a table: their names and types, whatever engine shows them.
#pragma once

#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vrn::sql {

// What ends a query: one line for the user.
class QueryError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class Kind : std::uint8_t {
    boolean,
    int8,
    int16,
    int32,
    int64,
    int128,
    uint8,
    uint16,
    uint32,
    uint64,
    uint128,
    float32,
    float64,
    timestamp,  // microseconds since the epoch, UTC
    text,
    array,      // `length` elements of members[0]
    list,       // of members[0]
    structure,  // of named members
    map,        // from members[0] to members[1]
};

struct Column;

// Members have names where SQL shows them; those of arrays and lists are for widen() alone, which
// unites members by name.
struct ColumnType {
    ColumnType(Kind the_kind);  // on purpose no explicit one: a kind is a type
    ColumnType(Kind the_kind, std::uint32_t the_length, std::vector<Column> the_members);

    Kind kind;
    std::uint32_t length = 0;
    std::vector<Column> members;

    bool operator==(const ColumnType &other) const;
};

struct Column {
    std::string name;
    ColumnType type;

    bool operator==(const Column &other) const = default;
};

// As SQL writes it.
std::string type_text(const ColumnType &type);

// Makes `type` one that holds the values of `other`, too, without loss. False, with nothing
// changed, when there is none.
[[nodiscard]] bool widen(ColumnType *type, const ColumnType &other);

// Adds what `columns` lacks of `more`, by name. Throws QueryError that names the column when a type
// can't be widened; `what` tells whose columns they are.
void unite(std::vector<Column> *columns, const std::vector<Column> &more, const std::string &what);

// SQL knows no case in names, so neither does this order.
struct NameOrder {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
};

inline bool same_name(std::string_view a, std::string_view b) {
    return !NameOrder()(a, b) && !NameOrder()(b, a);
}

// Names that differ from each other.
class NewNames {
  public:
    // `name`, or with the first number after it that makes it new. Never empty.
    std::string add(std::string_view name);

  private:
    std::set<std::string, NameOrder> names_;
};

}  // namespace vrn::sql
