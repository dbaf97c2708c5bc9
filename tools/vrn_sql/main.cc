// vrn_sql: asks data files questions in SQL.
#include <glob.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
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

// Adds the files that texts of a query name, wildcards included: it may read any of them.
void add_files_named_in(std::string_view query, std::vector<tool::FileId> *ids) {
    for (const std::string &name : texts_in_quotes(query)) {
        glob_t paths{};
        const bool has_found = glob(name.c_str(), GLOB_NOSORT, nullptr, &paths) == 0;
        for (std::size_t i = 0; has_found && i < paths.gl_pathc; ++i) {
            struct stat status {};
            if (stat(paths.gl_pathv[i], &status) == 0) ids->emplace_back(status);
        }
        globfree(&paths);
    }
}

// Throws UsageError when writing to `path`, or to standard output, would end an input.
void check_outputs(const std::string &path, const tool::InputIds &inputs) {
    tool::refuse_output_into_input(inputs);
    struct stat status {};
    if (path.empty() || stat(path.c_str(), &status) != 0) return;
    // The file is replaced as a whole, which would remove a device or a pipe.
    if (!S_ISREG(status.st_mode)) throw tool::UsageError(path + " is no regular file");
    tool::refuse_output_over_input(path, inputs);
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
    std::vector<tool::FileId> ids = tool::ids_of(files);
    add_files_named_in(query, &ids);
    check_outputs(settings.output, tool::InputIds(std::move(ids)));
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
