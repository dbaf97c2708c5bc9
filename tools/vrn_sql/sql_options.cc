#include "vrn_sql/sql_options.h"

namespace vrn::sqltool {

tool::CommandLine make_command_line(Settings *settings) {
    return {
        "vrn_sql",
        "[query] [file|folder ...]",
        "Runs a query over data files, of folders all below. Each event type is a table of its\n"
        "name; others are counters, counters_long, metrics, histograms and files. Without a query\n"
        "it reads them from standard input, at a terminal with a prompt.\n",
        {{"output", 'o', "FILE",
          "Store the rows: as Parquet, CSV or JSON lines by the ending .parquet, .csv or .json.",
          [settings](const char *value) {
              settings->output = value;
              if (format_of_path(settings->output).empty())
                  throw tool::BadValue(
                      "a name that ends with .parquet, .csv, .json, .ndjson or "
                      ".jsonl");
          }},
         {"format", 'f', "FORM", "Print a table, csv, json or markdown (table).",
          [settings](const char *value) { form_of_name(value, &settings->form); }, form_names()},
         {"tables", 't', nullptr,
          "Tell what is in the files: tables, columns, rows, times, sources.",
          [settings](const char *) { settings->shows_tables = true; }},
         {"ordered", 0, nullptr, "Give rows in file order, by one thread.",
          [settings](const char *) { settings->is_ordered = true; }},
         {"strict", 0, nullptr, "End a query at the first fault of a file.",
          [settings](const char *) { settings->is_strict = true; }},
         {"schema-path", 's', "DIR",
          "Folder of the schema files (./schema, or else the nearest folder 'schema' above a "
          "file).",
          [settings](const char *value) { settings->schema_folder = value; }},
         {"verbose", 'v', nullptr, "Tell of files that are passed over, too.",
          [settings](const char *) { settings->log_level = VRN_LOG_INFO; }}},
        "Rows that damaged files still give are shown; the files are told on standard error, and\n"
        "the exit status is 1 then, as after any failure, 130 after Ctrl-C, and 64 for wrong\n"
        "usage. VRN_DUCKDB_LIBRARY names DuckDB's library, libduckdb.so.\n"};
}

}  // namespace vrn::sqltool
