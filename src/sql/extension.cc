// The entry of the DuckDB extension: its table functions, and files by their names.
#define DUCKDB_EXTENSION_NAME vrn

#include <array>
#include <exception>
#include <string>
#include <string_view>

#include "data/text/value_text.h"
#include "sql/engine.h"
#include "sql/file_table.h"
#include "sql/metrics_table.h"
#include "sql/row_table.h"
#include "sql/session.h"
#include "sql/table_function.h"

namespace vrn::sql {
namespace {

// The catalog remembers files, so that binding a query again costs a stat() of each.
FileSet files_of(const BindArguments &arguments) {
    return find_files(arguments.paths(), arguments.text("schema"));
}

// The only type of events, when none is named.
std::string type_of(const BindArguments &arguments, const FileSet &files) {
    if (std::string type = arguments.text("type"); !type.empty()) return type;
    const std::vector<std::string> types = event_types(files);
    if (types.size() == 1) return types[0];
    if (types.empty()) throw QueryError("there are no events");
    std::string list;
    for (const std::string &type : types) list += (list.empty() ? "" : ", ") + type;
    throw QueryError("there are events of several types, of which `type` names one: " + list);
}

std::unique_ptr<Table> bind_events(const BindArguments &arguments) {
    FileSet files = files_of(arguments);
    std::string type = type_of(arguments, files);
    return make_event_table(std::move(files), arguments.filter(), std::move(type));
}

std::unique_ptr<Table> bind_counters(const BindArguments &arguments) {
    return make_counter_table(files_of(arguments), arguments.filter());
}

std::unique_ptr<Table> bind_metrics(const BindArguments &arguments) {
    return make_metrics_table(files_of(arguments), arguments.filter());
}

std::unique_ptr<Table> bind_histograms(const BindArguments &arguments) {
    return make_histogram_table(files_of(arguments), arguments.filter());
}

std::unique_ptr<Table> bind_files(const BindArguments &arguments) {
    return make_file_table(files_of(arguments));
}

std::unique_ptr<Table> bind_tables(const BindArguments &arguments) {
    return make_content_table(files_of(arguments));
}

// What FROM 'path' reads: the one kind of data that the files hold.
std::unique_ptr<Table> bind_scan(const BindArguments &arguments) {
    FileSet files = files_of(arguments);
    // Events beside counters or metrics are left to vrn_events: one scan has one set of columns.
    if (has_counters(files)) return bind_counters(arguments);
    if (has_metrics(files)) return bind_metrics(arguments);
    return bind_events(arguments);
}

constexpr char scan_function[] = "vrn_scan";

// Static, since the engine keeps their addresses until the process ends.
const std::array functions{
    TableFunction{"vrn_events", bind_events, {"type", "schema", "source"}, true},
    TableFunction{"vrn_counters", bind_counters, {"schema", "source"}, true},
    TableFunction{"vrn_metrics", bind_metrics, {"schema", "source"}, true},
    TableFunction{"vrn_histograms", bind_histograms, {"schema", "source"}, true},
    TableFunction{"vrn_files", bind_files, {"schema"}, false},
    TableFunction{"vrn_tables", bind_tables, {"schema"}, false},
    TableFunction{scan_function, bind_scan, {"schema", "type", "source"}, true},
};

// Leaves all alone that is no data file: other readers may know it.
void replace_scan(duckdb_replacement_scan_info info, const char *name, void * /*data*/) {
    try {
        constexpr std::string_view suffixes[] = {".bin", ".bin.gz"};
        const std::string_view path(name);
        bool may_be_ours = false;
        for (const std::string_view suffix : suffixes) may_be_ours |= path.ends_with(suffix);
        if (!may_be_ours) return;
        // Only to see whether it throws: the bind finds the files again, from the catalog.
        find_files({name}, "");
    } catch (const std::exception &) {
        return;
    }
    duckdb_replacement_scan_set_function_name(info, scan_function);
    const Value value(duckdb_create_varchar(name));
    duckdb_replacement_scan_add_parameter(info, value.get());
}

// vrn_guid(UBIGINT): the text that JSON has of it.
void guid_texts(duckdb_function_info /*info*/, duckdb_data_chunk input, duckdb_vector output) {
    const duckdb_vector guids = duckdb_data_chunk_get_vector(input, 0);
    const auto *values = vector_data<std::uint64_t>(guids);
    const std::uint64_t *validity = duckdb_vector_get_validity(guids);
    for (idx_t i = 0; i < duckdb_data_chunk_get_size(input); ++i) {
        // A set bit is a valid row; without a mask all are.
        if (validity && (validity[i / 64] >> i % 64 & 1) == 0) {
            put_nulls(output, i, 1);
            continue;
        }
        char text[VALUE_TEXT_ROOM];
        put_text(output, i, {text, write_guid_value(text, values[i])});
    }
}

bool register_guid_function(duckdb_connection connection) {
    duckdb_scalar_function made = duckdb_create_scalar_function();
    duckdb_scalar_function_set_name(made, "vrn_guid");
    duckdb_scalar_function_add_parameter(made, LogicalType(DUCKDB_TYPE_UBIGINT).get());
    duckdb_scalar_function_set_return_type(made, LogicalType(DUCKDB_TYPE_VARCHAR).get());
    duckdb_scalar_function_set_function(made, guid_texts);
    const bool done = duckdb_register_scalar_function(connection, made) == DuckDBSuccess;
    duckdb_destroy_scalar_function(&made);
    return done;
}

bool register_all(duckdb_connection connection) {
    for (const TableFunction &function : functions)
        if (!register_table_function(connection, function)) return false;
    return register_guid_function(connection);
}

}  // namespace
}  // namespace vrn::sql

// The table through which the header's macros call the engine: filled before any of them is used.
duckdb_ext_api_v1 duckdb_ext_api{};

extern "C" __attribute__((visibility("default"))) bool vrn_init_c_api(
    duckdb_extension_info info, struct duckdb_extension_access *access) {
    const auto *api = static_cast<const duckdb_ext_api_v1 *>(access->get_api(info, "v1.2.0"));
    // An engine older than these functions has no such table.
    if (!api) return false;
    duckdb_ext_api = *api;
    duckdb_connection connection = nullptr;
    duckdb_database *database = access->get_database(info);
    if (duckdb_connect(*database, &connection) == DuckDBError) {
        access->set_error(info, "vrn: no connection to the database");
        return false;
    }
    // What a connection registers is the whole database's, and outlives the connection.
    const bool done = vrn::sql::register_all(connection);
    if (!done) access->set_error(info, "vrn: the engine refuses a function");
    duckdb_disconnect(&connection);
    // Last: it leads to a function that must be there.
    if (done) duckdb_add_replacement_scan(*database, vrn::sql::replace_scan, nullptr, nullptr);
    return done;
}
