// vrn_sql: asks data files questions in SQL.
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/input_files.h"
#include "common/tool_main.h"
#include "vrn_sql/prompt.h"
#include "vrn_sql/query_runner.h"
#include "vrn_sql/query_watch.h"
#include "vrn_sql/sql_options.h"
#include "vrn_sql/statements.h"

namespace vrn::sqltool {
namespace {

constexpr int signal_status = 128;  // and the number of the signal, as shells have it

bool exists(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

// Throws UsageError when writing to `path` would end one of `files`.
void check_output(const std::string &path, const std::vector<tool::InputFile> &files) {
    struct stat status {};
    if (path.empty() || stat(path.c_str(), &status) != 0) return;
    // The file is replaced as a whole, which would remove a device or a pipe.
    if (!S_ISREG(status.st_mode)) throw tool::UsageError(path + " is no regular file");
    tool::refuse_output_over_input(path, tool::InputIds(tool::ids_of(files)));
}

// One row for each view, by one query over all of them.
std::string tables_query(Database *database) {
    std::string query;
    database->fetch(
        "SELECT t.table_name, count(*)::VARCHAR, any_value(column_name) FILTER "
        "(data_type = 'TIMESTAMP' AND ordinal_position = 1) "
        "FROM information_schema.tables t JOIN information_schema.columns USING (table_name) "
        "WHERE t.table_name NOT IN ('files', 'counters_long') GROUP BY 1 ORDER BY 1",
        [](const std::vector<std::string> &) {},
        [&](const Row &row) {
            const std::string time =
                row[2].data() ? quoted_name(row[2]) : std::string("NULL::TIMESTAMP");
            if (!query.empty()) query += " UNION ALL ";
            query += "SELECT " + quoted_text(row[0]) + " AS \"table\", " + std::string(row[1]) +
                     " AS columns, count(*) AS rows, min(" + time + ") AS first, max(" + time +
                     ") AS last, string_agg(DISTINCT source, ', ' ORDER BY source) AS sources "
                     "FROM " +
                     quoted_name(row[0]);
        });
    if (query.empty()) throw std::runtime_error("there are no tables in these files");
    return "FROM (" + query + ") ORDER BY ALL";
}

int run(const Settings &settings, std::vector<std::string> operands) {
    if (operands.empty()) throw tool::UsageError("no query, file or folder is given");
    tool::start_log(settings.log_level);
    std::string query;
    // The query has no option of its own: an operand that is there as a file can't be one.
    const bool has_query = !settings.shows_tables && !exists(operands[0]);
    if (has_query) {
        query = operands[0];
        operands.erase(operands.begin());
    } else if (!settings.output.empty() && !settings.shows_tables) {
        throw tool::UsageError("--output takes a query");
    }
    std::vector<tool::InputFile> files;
    bool good = tool::find_input_files(operands, &files);
    // Before the engine starts: nothing may be read for an output that can't be.
    check_output(settings.output, files);
    tool::refuse_output_into_input(files);
    std::vector<std::string> paths;
    paths.reserve(files.size());
    for (const tool::InputFile &file : files) paths.push_back(file.path);

    // Before the engine starts its threads, which inherit what is held.
    hold_signals();
    Database database(settings.is_ordered);
    database.session()->is_strict = settings.is_strict;
    // Told, but no failure of the run: the query may not need that view.
    for (const std::string &failure : database.make_views(paths, settings.schema_folder))
        print_engine_error(failure);
    QueryRunner runner(&database, settings.form);
    if (settings.shows_tables) query = tables_query(&database);
    if (query.empty())
        good &= run_prompt(&runner);
    else if (settings.output.empty())
        good &= runner.run_all(query);
    else
        good &= runner.store(query, settings.output);
    // At the prompt Ctrl-C ends a query, not the run.
    if (runner.signal() != 0 && !query.empty()) return signal_status + runner.signal();
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace
}  // namespace vrn::sqltool

int main(int argc, char **argv) {
    vrn::sqltool::Settings settings;
    return vrn::tool::run_tool(vrn::sqltool::make_command_line(&settings), argc, argv, EXIT_FAILURE,
                               [&](const std::vector<std::string> &operands) {
                                   return vrn::sqltool::run(settings, operands);
                               });
}
