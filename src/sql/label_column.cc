#include "sql/label_column.h"

#include <algorithm>

namespace vrn::sql {

ColumnType label_type() {
    return {Kind::map, 0, {{"key", {Kind::text}}, {"value", {Kind::text}}}};
}

duckdb_list_entry LabelColumn::add(const Labels &labels) {
    // Doubled: a reserve for each row would copy all pairs again and again.
    if (size_ + labels.size() > room_) {
        room_ = std::max(2 * room_, size_ + labels.size());
        duckdb_list_vector_reserve(vector_, room_);
    }
    // After the reserve: the engine may have moved them.
    const duckdb_vector pairs = duckdb_list_vector_get_child(vector_);
    const duckdb_vector keys = duckdb_struct_vector_get_child(pairs, 0);
    const duckdb_vector values = duckdb_struct_vector_get_child(pairs, 1);
    const duckdb_list_entry entry = {size_, labels.size()};
    for (const auto &[name, value] : labels) {
        put_text(keys, size_, name);
        put_text(values, size_, value);
        ++size_;
    }
    // The engine sees no pairs beyond the size that it is told.
    duckdb_list_vector_set_size(vector_, size_);
    return entry;
}

void LabelColumn::put(std::size_t at, std::size_t count, duckdb_list_entry entry) {
    std::fill_n(vector_data<duckdb_list_entry>(vector_) + at, count, entry);
}

}  // namespace vrn::sql
