// Where the values of columns stand in the bytes of a record.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sql/column.h"

namespace vrn::sql {

struct RecordField {
    std::string name;
    Kind kind;
    std::uint64_t offset;              // in the record, or in the element that holds it
    std::uint64_t size;                // of a text, and from one element of an array to the next
    std::uint32_t length = 0;          // of an array
    std::vector<RecordField> parts{};  // of a structure; one, at offset 0, of an array

    ColumnType type() const {
        ColumnType type(kind, length, {});
        type.members.reserve(parts.size());
        for (const RecordField &part : parts) type.members.push_back({part.name, part.type()});
        return type;
    }
};

inline std::vector<Column> columns_of(const std::vector<RecordField> &fields) {
    std::vector<Column> columns;
    columns.reserve(fields.size());
    for (const RecordField &field : fields) columns.push_back({field.name, field.type()});
    return columns;
}

}  // namespace vrn::sql
