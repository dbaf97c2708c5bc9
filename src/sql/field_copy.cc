#include "sql/field_copy.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "utils/byte_reader.h"

namespace vrn::sql {
namespace {

// Types of their own, so that no conversion takes them for plain integers. The wide ones have the
// engine's layout of 128 bits, low half first, which is the file's as well.
struct Timestamp {
    std::int64_t micros;
};
struct WideSigned {
    std::uint64_t low;
    std::int64_t high;
};
struct WideUnsigned {
    std::uint64_t low;
    std::uint64_t high;
};

// Calls `visit` with a value of the type that a record holds, and a vector, for numbers of a kind.
template <typename Visit>
auto visit_kind(Kind kind, Visit visit) {
    switch (kind) {
        case Kind::boolean:
            return visit(bool{});
        case Kind::int8:
            return visit(std::int8_t{});
        case Kind::int16:
            return visit(std::int16_t{});
        case Kind::int32:
            return visit(std::int32_t{});
        case Kind::int64:
            return visit(std::int64_t{});
        case Kind::int128:
            return visit(WideSigned{});
        case Kind::uint8:
            return visit(std::uint8_t{});
        case Kind::uint16:
            return visit(std::uint16_t{});
        case Kind::uint32:
            return visit(std::uint32_t{});
        case Kind::uint128:
            return visit(WideUnsigned{});
        case Kind::float32:
            return visit(float{});
        case Kind::float64:
            return visit(double{});
        case Kind::timestamp:
            return visit(Timestamp{});
        default:
            return visit(std::uint64_t{});
    }
}

template <typename T>
T load_number(const std::uint8_t *from) {
    // Any byte may stand in a file; a bool of another value than 0 and 1 is undefined.
    if constexpr (std::is_same_v<T, bool>) {
        return *from != 0;
    } else if constexpr (std::is_same_v<T, Timestamp>) {
        return {to_engine_time(load_le<std::uint64_t>(from))};
    } else {
        return load_le<T>(from);
    }
}

// Only of pairs that widen() makes.
template <typename From, typename To>
To convert(From value) {
    if constexpr (std::is_same_v<From, To>) {
        return value;
    } else if constexpr (std::is_same_v<To, WideSigned>) {
        return {static_cast<std::uint64_t>(value),
                std::is_signed_v<From> && value < From{} ? -1 : 0};
    } else if constexpr (std::is_same_v<To, WideUnsigned>) {
        return {static_cast<std::uint64_t>(value), 0};
    } else {
        return static_cast<To>(value);
    }
}

// Keeps pairs that never meet from being compiled.
template <typename From, typename To>
constexpr bool converts = std::is_same_v<From, To> ||
                          (std::is_arithmetic_v<From> && !std::is_same_v<From, bool> &&
                           !std::is_same_v<To, bool> && !std::is_same_v<To, Timestamp>);

constexpr std::size_t whole = std::numeric_limits<std::size_t>::max();

}  // namespace

FieldCopy::FieldCopy(const RecordField &from, const ColumnType &to)
    : offset_(from.offset), size_(from.size), length_(from.length) {
    switch (from.kind) {
        case Kind::text:
            copy_ = copy_texts;
            break;
        case Kind::array:
            copy_ = to.kind == Kind::list ? copy_lists : copy_arrays;
            parts_.emplace_back(from.parts[0], to.members[0].type);
            break;
        case Kind::structure:
            copy_ = copy_structures;
            // By the members of the column, which may be more than this layout has, and in another
            // order.
            parts_.reserve(to.members.size());
            for (const Column &member : to.members) {
                const auto part = std::ranges::find_if(from.parts, [&](const RecordField &field) {
                    return same_name(field.name, member.name);
                });
                parts_.push_back(part == from.parts.end() ? FieldCopy(member.type)
                                                          : FieldCopy(*part, member.type));
            }
            break;
        default:
            copy_ = number_copy(from.kind, to.kind);
    }
}

FieldCopy::FieldCopy(const ColumnType &to) : length_(to.length) {
    if (to.kind == Kind::list) copy_ = copy_null_lists;
    // Lists and maps need no children: a NULL row has no elements there.
    if (to.kind != Kind::array && to.kind != Kind::structure) return;
    parts_.reserve(to.members.size());
    for (const Column &member : to.members) parts_.emplace_back(member.type);
}

template <typename From, typename To>
void FieldCopy::copy_numbers(const FieldCopy &field, const RecordSpan &records,
                             duckdb_vector vector, std::size_t at) {
    To *to = vector_data<To>(vector) + at;
    constexpr std::size_t size = std::is_same_v<From, bool> ? 1 : sizeof(From);
    // Checked once for all records, so that the loop for whole ones has no branch.
    if (field.offset_ + size > records.held) {
        std::uint8_t zeros[size] = {};
        for (std::size_t i = 0; i < records.count; ++i) {
            const std::uint8_t *record = records.first + i * records.stride;
            if (field.offset_ < records.held)
                // Each record overwrites the same first bytes: those after them stay zeros.
                std::memcpy(zeros, record + field.offset_, records.held - field.offset_);
            to[i] = convert<From, To>(load_number<From>(zeros));
        }
        return;
    }
    const std::uint8_t *from = records.first + field.offset_;
    for (std::size_t i = 0; i < records.count; ++i, from += records.stride)
        to[i] = convert<From, To>(load_number<From>(from));
}

void FieldCopy::copy_texts(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                           std::size_t at) {
    // A text fills its field or ends at a zero, and a record may end before either.
    const std::size_t offset = std::min<std::size_t>(field.offset_, records.held);
    const std::size_t size = std::min<std::size_t>(field.size_, records.held - offset);
    const auto *from = reinterpret_cast<const char *>(records.first) + offset;
    for (std::size_t i = 0; i < records.count; ++i, from += records.stride)
        put_text(vector, at + i, {from, ::strnlen(from, size)});
}

void FieldCopy::copy_arrays(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                            std::size_t at) {
    const duckdb_vector elements = duckdb_array_vector_get_child(vector);
    const std::uint8_t *from = records.first + field.offset_;
    for (std::size_t i = 0; i < records.count; ++i, from += records.stride)
        // Layouts are checked: all elements lie in their record.
        field.parts_[0].copy({from, field.size_, whole, field.length_}, elements,
                             (at + i) * field.length_);
}

// Where a column has arrays of several lengths.
void FieldCopy::copy_lists(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                           std::size_t at) {
    std::size_t end = duckdb_list_vector_get_size(vector);
    // Before the elements' places are asked for: the engine may move them.
    duckdb_list_vector_reserve(vector, end + records.count * field.length_);
    duckdb_list_vector_set_size(vector, end + records.count * field.length_);
    const duckdb_vector elements = duckdb_list_vector_get_child(vector);
    auto *entries = vector_data<duckdb_list_entry>(vector);
    const std::uint8_t *from = records.first + field.offset_;
    for (std::size_t i = 0; i < records.count; ++i, from += records.stride, end += field.length_) {
        field.parts_[0].copy({from, field.size_, whole, field.length_}, elements, end);
        entries[at + i] = {end, field.length_};
    }
}

void FieldCopy::copy_null_lists(const FieldCopy & /*field*/, const RecordSpan &records,
                                duckdb_vector vector, std::size_t at) {
    put_nulls(vector, at, records.count);
    std::fill_n(vector_data<duckdb_list_entry>(vector) + at, records.count, duckdb_list_entry{});
}

void FieldCopy::copy_structures(const FieldCopy &field, const RecordSpan &records,
                                duckdb_vector vector, std::size_t at) {
    const RecordSpan inner = {records.first + field.offset_, records.stride,
                              records.held - std::min<std::size_t>(field.offset_, records.held),
                              records.count};
    for (std::size_t i = 0; i < field.parts_.size(); ++i)
        field.parts_[i].copy(inner, duckdb_struct_vector_get_child(vector, i), at);
}

void FieldCopy::copy_nulls(const FieldCopy &field, const RecordSpan &records, duckdb_vector vector,
                           std::size_t at) {
    put_nulls(vector, at, records.count);
    // What lies below a NULL is NULL, too.
    if (field.length_ > 0) {
        const RecordSpan all = {nullptr, 0, 0, records.count * field.length_};
        field.parts_[0].copy(all, duckdb_array_vector_get_child(vector), at * field.length_);
        return;
    }
    for (std::size_t i = 0; i < field.parts_.size(); ++i)
        field.parts_[i].copy(records, duckdb_struct_vector_get_child(vector, i), at);
}

FieldCopy::Copy FieldCopy::number_copy(Kind from, Kind to) {
    // Chosen once for a layout and a column, so that no value asks for its type.
    return visit_kind(from, [to]<typename From>(From) {
        return visit_kind(to, []<typename To>(To) -> Copy {
            if constexpr (converts<From, To>)
                return copy_numbers<From, To>;
            else
                return copy_nulls;
        });
    });
}

}  // namespace vrn::sql
