#include "sql/name_columns.h"

namespace vrn::sql {

void add_name_columns(std::vector<Column> *columns) {
    NewNames names;
    // The records' own columns go first, so that a field keeps its name whatever we add.
    for (const Column &column : *columns) names.add(column.name);
    for (const char *name : {"source", "tag", "file"})
        columns->push_back({names.add(name), {Kind::text}});
}

void put_names(duckdb_vector vector, std::size_t at, std::size_t count, std::size_t which,
               const RecordNames &names) {
    const std::string *texts[num_name_columns] = {&names.source, &names.tag, &names.file};
    if (which < num_name_columns) put_texts(vector, at, count, *texts[which]);
}

}  // namespace vrn::sql
