#include "vrn_sql/database.h"

#include <dlfcn.h>

#include <array>
#include <cstring>

#include "vrn_sql/statements.h"

namespace vrn::sqltool {
namespace {

constexpr char extension_name[] = "vrn.duckdb_extension";

// What the engine has loaded already.
vrn_sql_session_t *session_of(const std::string &extension) {
    // Never closed: the session lives in it. Not loaded anew, which could give a second session.
    void *library = dlopen(extension.c_str(), RTLD_NOW | RTLD_NOLOAD);
    void *function = library ? dlsym(library, sql::session_function) : nullptr;
    if (!function) throw std::runtime_error(extension + " is of another version");
    decltype(&vrn_sql_session) session = nullptr;
    // The language has no cast from an object's address to a function's.
    std::memcpy(&session, &function, sizeof function);
    return session();
}

class Result {
  public:
    Result(duckdb_connection connection, const std::string &statement) {
        if (duckdb_query(connection, statement.c_str(), &result_) == DuckDBSuccess) return;
        const char *text = duckdb_result_error(&result_);
        // Copied before the result goes, which owns the text.
        const EngineError error(text ? text : "the engine tells no reason");
        duckdb_destroy_result(&result_);
        throw error;
    }
    ~Result() { duckdb_destroy_result(&result_); }
    Result(const Result &) = delete;
    Result &operator=(const Result &) = delete;
    duckdb_result *get() { return &result_; }

  private:
    duckdb_result result_{};
};

// One column of a chunk.
class TextColumn {
  public:
    TextColumn(duckdb_data_chunk chunk, idx_t index, bool is_text) {
        const duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, index);
        if (is_text) texts_ = static_cast<duckdb_string_t *>(duckdb_vector_get_data(vector));
        validity_ = duckdb_vector_get_validity(vector);
    }

    std::string_view at(idx_t row) const {
        const bool is_null = validity_ && (validity_[row / 64] >> row % 64 & 1) == 0;
        if (!texts_ || is_null) return {};
        return {duckdb_string_t_data(&texts_[row]), duckdb_string_t_length(texts_[row])};
    }

  private:
    duckdb_string_t *texts_ = nullptr;
    const std::uint64_t *validity_;
};

// Without the statement, where the user didn't write it.
std::string reason_of(const EngineError &error) {
    const std::string text = error.what();
    return text.substr(0, text.find("\n\nLINE "));
}

// As texts at first, because UNPIVOT wants one type; a counter of texts has no `value`.
constexpr char long_counters[] =
    "CREATE VIEW counters_long AS SELECT time, counter, TRY_CAST(exact AS DOUBLE) AS value, exact, "
    "source, tag, file FROM (UNPIVOT (SELECT time, source, tag, file, "
    "COLUMNS(* EXCLUDE (time, source, tag, file))::VARCHAR FROM counters) "
    "ON COLUMNS(* EXCLUDE (time, source, tag, file)) INTO NAME counter VALUE exact)";

}  // namespace

Database::Database(bool is_ordered) : is_ordered_(is_ordered) {
    open_engine_library();
    duckdb_config config = nullptr;
    duckdb_create_config(&config);
    // Our extension isn't signed by the engine's makers. None is fetched: a query never uses the
    // network.
    constexpr std::array<const char *[2], 3> settings {
        {
            {"allow_unsigned_extensions", "true"}, {"autoinstall_known_extensions", "false"}, {
                "autoload_known_extensions", "false"
            }
        }
    };
    for (const auto &[name, value] : settings) duckdb_set_config(config, name, value);
    duckdb_set_config(config, "preserve_insertion_order", is_ordered ? "true" : "false");
    char *text = nullptr;
    const bool is_open = duckdb_open_ext(nullptr, &database_, config, &text) == DuckDBSuccess;
    const std::string error = text ? text : "DuckDB doesn't start";
    duckdb_free(text);
    duckdb_destroy_config(&config);
    if (!is_open || duckdb_connect(database_, &connection_) != DuckDBSuccess)
        throw std::runtime_error(error);
    const std::string extension = program_file(extension_name);
    run("LOAD " + quoted_text(extension));
    session_ = session_of(extension);
}

Database::~Database() {
    duckdb_disconnect(&connection_);
    duckdb_close(&database_);
}

void Database::run(const std::string &statement) {
    Result(connection_, statement);
}

void Database::fetch(const std::string &statement,
                     const std::function<void(const std::vector<std::string> &names)> &begin,
                     const std::function<void(const Row &row)> &show) {
    Result result(connection_, statement);
    const idx_t width = duckdb_column_count(result.get());
    std::vector<std::string> names;
    names.reserve(width);
    for (idx_t i = 0; i < width; ++i) names.emplace_back(duckdb_column_name(result.get(), i));
    begin(names);
    Row row(width);
    while (duckdb_data_chunk chunk = duckdb_fetch_chunk(*result.get())) {
        std::vector<TextColumn> columns;
        columns.reserve(width);
        for (idx_t i = 0; i < width; ++i)
            columns.emplace_back(chunk, i,
                                 duckdb_column_type(result.get(), i) == DUCKDB_TYPE_VARCHAR);
        for (idx_t at = 0; at < duckdb_data_chunk_get_size(chunk); ++at) {
            for (idx_t i = 0; i < width; ++i) row[i] = columns[i].at(at);
            show(row);
        }
        duckdb_destroy_data_chunk(&chunk);
    }
}

duckdb_statement_type Database::type_of(const std::string &statement) {
    duckdb_prepared_statement prepared = nullptr;
    const bool done = duckdb_prepare(connection_, statement.c_str(), &prepared) == DuckDBSuccess;
    const auto type =
        done ? duckdb_prepared_statement_type(prepared) : DUCKDB_STATEMENT_TYPE_INVALID;
    // Copied before the statement goes, which owns the text.
    const char *text = done ? nullptr : duckdb_prepare_error(prepared);
    const std::string error = text ? text : "the engine tells no reason";
    duckdb_destroy_prepare(&prepared);
    if (!done) throw EngineError(error);
    return type;
}

void Database::cancel() {
    // Both: the engine looks between fills only, our scans in the midst of them.
    session_->is_cancelled = true;
    duckdb_interrupt(connection_);
}

std::vector<std::string> Database::make_views(const std::vector<std::string> &paths,
                                              const std::string &schema_folder) {
    if (paths.empty()) return {};
    std::string list;
    for (const std::string &path : paths) list += (list.empty() ? "" : ", ") + quoted_text(path);
    // A list of thousands of files is stored once, not in each view.
    run("SET VARIABLE vrn_files = [" + list + "]");
    const std::string schema =
        schema_folder.empty() ? "" : ", schema := " + quoted_text(schema_folder);
    const auto call = [&](const std::string &function, const std::string &more) {
        return function + "(getvariable('vrn_files')" + more + schema + ")";
    };
    std::vector<std::string> statements = {"CREATE VIEW files AS FROM " + call("vrn_files", "")};
    std::vector<std::string> types;
    const auto take_table = [&](const Row &row) {
        // Names of types come from files: they are quoted wherever they go.
        const std::string name(row[0]);
        if (row[1] == "events")
            types.push_back("CREATE VIEW " + quoted_name(name) + " AS FROM " +
                            call("vrn_events", ", type := " + quoted_text(name)));
        else
            statements.push_back("CREATE VIEW " + name + " AS FROM " + call("vrn_" + name, ""));
        if (name == "counters" && row[1] == name) statements.emplace_back(long_counters);
    };
    try {
        fetch(
            "FROM " + call("vrn_tables", ""), [](const std::vector<std::string> &) {}, take_table);
    } catch (const EngineError &error) {
        throw std::runtime_error(reason_of(error));
    }
    // Last, so that a type with the name of one of the tables above leaves that alone.
    statements.insert(statements.end(), types.begin(), types.end());
    std::vector<std::string> failures;
    for (const std::string &statement : statements) {
        try {
            run(statement);
        } catch (const EngineError &error) {
            // One type that makes no table leaves the others their views.
            failures.push_back(reason_of(error));
        }
    }
    return failures;
}

}  // namespace vrn::sqltool
