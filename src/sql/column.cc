#include "sql/column.h"

#include <algorithm>
#include <array>
#include <map>

#include "sql/clean_text.h"

namespace vrn::sql {
namespace {

struct KindTraits {
    const char *name;
    unsigned integer_bits;  // 0: no integer
    bool is_signed;
};

// In the order of Kind.
constexpr std::array kinds{
    KindTraits{"BOOLEAN", 0, false},    KindTraits{"TINYINT", 8, true},
    KindTraits{"SMALLINT", 16, true},   KindTraits{"INTEGER", 32, true},
    KindTraits{"BIGINT", 64, true},     KindTraits{"HUGEINT", 128, true},
    KindTraits{"UTINYINT", 8, false},   KindTraits{"USMALLINT", 16, false},
    KindTraits{"UINTEGER", 32, false},  KindTraits{"UBIGINT", 64, false},
    KindTraits{"UHUGEINT", 128, false}, KindTraits{"FLOAT", 0, true},
    KindTraits{"DOUBLE", 0, true},      KindTraits{"TIMESTAMP", 0, false},
    KindTraits{"VARCHAR", 0, false},    KindTraits{"[]", 0, false},
    KindTraits{"[]", 0, false},         KindTraits{"STRUCT", 0, false},
    KindTraits{"MAP", 0, false},
};

const KindTraits &traits(Kind kind) {
    return kinds[static_cast<std::size_t>(kind)];
}

// Whole numbers that a float and a double hold exactly.
constexpr unsigned float_bits = 16;
constexpr unsigned double_bits = 32;

// None for 256 bits, which a signed type beside a UHUGEINT would need.
bool find_integer(unsigned bits, bool is_signed, Kind *kind) {
    const auto found = std::ranges::find_if(kinds, [&](const KindTraits &traits) {
        return traits.integer_bits == bits && traits.is_signed == is_signed;
    });
    if (bits == 0 || found == kinds.end()) return false;
    *kind = static_cast<Kind>(found - kinds.begin());
    return true;
}

bool widen_integers(Kind *kind, Kind other) {
    const KindTraits a = traits(*kind);
    const KindTraits b = traits(other);
    if (a.is_signed == b.is_signed) {
        if (b.integer_bits > a.integer_bits) *kind = other;
        return true;
    }
    // A signed type holds all values of an unsigned one only when it is wider: widths double, so
    // that is one of twice the bits.
    const unsigned unsigned_bits = a.is_signed ? b.integer_bits : a.integer_bits;
    const unsigned signed_bits = a.is_signed ? a.integer_bits : b.integer_bits;
    return find_integer(std::max(signed_bits, 2 * unsigned_bits), true, kind);
}

bool is_floating(Kind kind) {
    return kind == Kind::float32 || kind == Kind::float64;
}

// A float gives way to a double where it would round an integer of the other files.
bool widen_to_floating(Kind *kind, Kind floating, Kind integer) {
    const unsigned bits = traits(integer).integer_bits;
    if (bits == 0 || bits > double_bits) return false;
    *kind = bits > float_bits ? Kind::float64 : floating;
    return true;
}

bool widen_numbers(Kind *kind, Kind other) {
    if (traits(*kind).integer_bits && traits(other).integer_bits)
        return widen_integers(kind, other);
    if (is_floating(*kind) && is_floating(other)) {
        *kind = Kind::float64;
        return true;
    }
    if (is_floating(*kind)) return widen_to_floating(kind, *kind, other);
    return is_floating(other) && widen_to_floating(kind, other, *kind);
}

bool has_elements(const ColumnType &type) {
    return type.kind == Kind::array || type.kind == Kind::list;
}

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

// Adds what `columns` lacks of `more`. Returns the first one that no type holds.
const Column *unite_by_name(std::vector<Column> *columns, const std::vector<Column> &more) {
    std::map<std::string, std::size_t, NameOrder> places;
    for (std::size_t i = 0; i < columns->size(); ++i) places.emplace((*columns)[i].name, i);
    for (const Column &column : more) {
        const auto found = places.find(column.name);
        if (found == places.end())
            columns->push_back(column);
        else if (!widen(&(*columns)[found->second].type, column.type))
            return &column;
    }
    return nullptr;
}

}  // namespace

ColumnType::ColumnType(Kind the_kind) : kind(the_kind) {}

ColumnType::ColumnType(Kind the_kind, std::uint32_t the_length, std::vector<Column> the_members)
    : kind(the_kind), length(the_length), members(std::move(the_members)) {}

bool ColumnType::operator==(const ColumnType &other) const {
    return kind == other.kind && length == other.length && members == other.members;
}

std::string type_text(const ColumnType &type) {
    std::string name = traits(type.kind).name;
    switch (type.kind) {
        case Kind::array:
            return type_text(type.members[0].type) + "[" + std::to_string(type.length) + "]";
        case Kind::list:
            return type_text(type.members[0].type) + name;
        case Kind::structure:
        case Kind::map: {
            std::string text = name + "(";
            for (const Column &member : type.members)
                text += (&member == type.members.data() ? "" : ", ") + member.name + " " +
                        type_text(member.type);
            return text + ")";
        }
        default:
            return name;
    }
}

bool widen(ColumnType *type, const ColumnType &other) {
    if (*type == other) return true;
    // On a copy: members that were united before one that fails must not stay.
    ColumnType wide = *type;
    bool done = false;
    if (has_elements(*type) && has_elements(other)) {
        // Of several lengths, a list holds all.
        if (type->kind != other.kind || type->length != other.length)
            wide = {Kind::list, 0, type->members};
        done = !unite_by_name(&wide.members, other.members);
    } else if (type->kind != other.kind) {
        done = widen_numbers(&wide.kind, other.kind);
    } else {
        done = !unite_by_name(&wide.members, other.members);
    }
    if (done) *type = std::move(wide);
    return done;
}

void unite(std::vector<Column> *columns, const std::vector<Column> &more, const std::string &what) {
    const Column *refused = unite_by_name(columns, more);
    if (!refused) return;
    const auto known = std::ranges::find_if(
        *columns, [&](const Column &column) { return same_name(column.name, refused->name); });
    throw QueryError("column " + refused->name + " of " + what + " is " + type_text(known->type) +
                     " in some files and " + type_text(refused->type) +
                     " in others, which no type holds without loss");
}

bool NameOrder::operator()(std::string_view a, std::string_view b) const {
    return std::ranges::lexicographical_compare(a, b, {}, lower, lower);
}

std::string NewNames::add(std::string_view name) {
    const std::string first = name.empty() ? "_" : clean_text(name);
    std::string text = first;
    // A numbered name may be taken as well: a file can hold "a", "a_1" and "a".
    for (int number = 1; !names_.insert(text).second; ++number)
        text = first + "_" + std::to_string(number);
    return text;
}

}  // namespace vrn::sql
