#include "sql/table_function.h"

#include <algorithm>
#include <exception>

namespace vrn::sql {
namespace {

// Runs `work` and hands what it throws to `fail`: nothing is thrown through the engine.
template <typename Fail, typename Work>
void guard(Fail fail, Work work) {
    try {
        work();
    } catch (const std::exception &error) {
        fail(error.what());
    } catch (...) {
        fail("an unknown failure");
    }
}

// A copy for the engine to keep, and how it ends it.
template <typename T>
struct Owned {
    T *object;
    static void destroy(void *object) { delete static_cast<T *>(object); }
};
template <typename T>
Owned<T> own(std::unique_ptr<T> object) {
    return {object.release()};  // to the engine
}

void bind(duckdb_bind_info info) {
    guard([&](const char *error) { duckdb_bind_set_error(info, error); },
          [&] {
              const auto *function =
                  static_cast<const TableFunction *>(duckdb_bind_get_extra_info(info));
              auto table = function->bind(BindArguments(info));
              // The engine copies the names and types.
              for (const Column &column : table->columns())
                  duckdb_bind_add_result_column(info, column.name.c_str(),
                                                make_logical_type(column.type).get());
              const auto owned = own(std::move(table));
              duckdb_bind_set_bind_data(info, owned.object, owned.destroy);
          });
}

void init(duckdb_init_info info) {
    guard([&](const char *error) { duckdb_init_set_error(info, error); },
          [&] {
              std::vector<std::size_t> projection(duckdb_init_get_column_count(info));
              for (std::size_t i = 0; i < projection.size(); ++i)
                  // In the order of the query, which is that of the vectors to fill.
                  projection[i] = duckdb_init_get_column_index(info, i);
              const auto *table = static_cast<const Table *>(duckdb_init_get_bind_data(info));
              auto scan = table->scan(std::move(projection));
              duckdb_init_set_max_threads(info, std::max<std::size_t>(scan->max_threads(), 1));
              const auto owned = own(std::move(scan));
              duckdb_init_set_init_data(info, owned.object, owned.destroy);
          });
}

// Made by the first fill(): the engine's local init knows no scan.
struct ThreadSlot {
    std::unique_ptr<ScanThread> thread;
};

void init_thread(duckdb_init_info info) {
    guard([&](const char *error) { duckdb_init_set_error(info, error); },
          [&] {
              const auto owned = own(std::make_unique<ThreadSlot>());
              duckdb_init_set_init_data(info, owned.object, owned.destroy);
          });
}

void fill(duckdb_function_info info, duckdb_data_chunk chunk) {
    guard([&](const char *error) { duckdb_function_set_error(info, error); },
          [&] {
              auto *slot = static_cast<ThreadSlot *>(duckdb_function_get_local_init_data(info));
              // Each thread has a slot of its own, so making it needs no lock.
              if (!slot->thread)
                  slot->thread =
                      static_cast<TableScan *>(duckdb_function_get_init_data(info))->make_thread();
              duckdb_data_chunk_set_size(chunk, slot->thread->fill(chunk));
          });
}

}  // namespace

std::vector<std::string> BindArguments::paths() const {
    std::vector<std::string> paths;
    const Value files(duckdb_bind_get_parameter(info_, 0));
    if (!files.is_set()) throw QueryError("no files are given");
    // The type of a value stays the value's.
    if (duckdb_get_type_id(duckdb_get_value_type(files.get())) != DUCKDB_TYPE_LIST)
        return {files.text()};
    for (idx_t i = 0; i < duckdb_get_list_size(files.get()); ++i) {
        const Value path(duckdb_get_list_child(files.get(), i));
        if (path.is_set()) paths.push_back(path.text());
    }
    return paths;
}

std::string BindArguments::text(const char *name) const {
    const Value value(duckdb_bind_get_named_parameter(info_, name));
    return value.is_set() ? value.text() : "";
}

RecordFilter BindArguments::filter() const {
    RecordFilter filter = {.source = text("source")};
    const auto set_time = [&](const char *name, std::uint64_t *time) {
        const Value value(duckdb_bind_get_named_parameter(info_, name));
        if (!value.is_set()) return;
        const std::int64_t micros = duckdb_get_timestamp(value.get()).micros;
        // Records have no times before the epoch.
        *time = static_cast<std::uint64_t>(std::max<std::int64_t>(micros, 0));
    };
    set_time("since", &filter.since);
    set_time("until", &filter.until);
    return filter;
}

bool register_table_function(duckdb_connection connection, const TableFunction &function) {
    duckdb_table_function made = duckdb_create_table_function();
    duckdb_table_function_set_name(made, function.name);
    // Any type, instead of two functions: a path and a list of paths bind alike.
    duckdb_table_function_add_parameter(made, LogicalType(DUCKDB_TYPE_ANY).get());
    const LogicalType text(DUCKDB_TYPE_VARCHAR);
    for (const char *name : function.texts)
        duckdb_table_function_add_named_parameter(made, name, text.get());
    if (function.takes_times)
        for (const char *name : {"since", "until"})
            duckdb_table_function_add_named_parameter(made, name,
                                                      LogicalType(DUCKDB_TYPE_TIMESTAMP).get());
    // Only read; without a destructor, since it is borrowed.
    duckdb_table_function_set_extra_info(made, const_cast<TableFunction *>(&function), nullptr);
    duckdb_table_function_set_bind(made, bind);
    duckdb_table_function_set_init(made, init);
    duckdb_table_function_set_local_init(made, init_thread);
    duckdb_table_function_set_function(made, fill);
    // Without it each scan would fill all columns, which may be thousands.
    duckdb_table_function_supports_projection_pushdown(made, true);
    const bool done = duckdb_register_table_function(connection, made) == DuckDBSuccess;
    duckdb_destroy_table_function(&made);
    return done;
}

}  // namespace vrn::sql
