#include "vrn_sql/query_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <thread>

#include "utils/descriptor.h"
#include "utils/new_file.h"
#include "utils/write_all.h"
#include "vrn_sql/json_nulls.h"
#include "vrn_sql/statements.h"
#include "vrn_sql/text_table.h"

namespace vrn::sqltool {
namespace {

// Less the umask, as for any file a user makes.
constexpr mode_t new_file_mode = 0666;

// The line break ends a comment at the query's end, which would take the bracket with it. The
// engine's own temporary file would lie beside the descriptor's path, where none can be.
std::string copy_statement(const std::string &query, int descriptor, const std::string &options) {
    return "COPY (" + query + "\n) TO " +
           quoted_text("/proc/self/fd/" + std::to_string(descriptor)) + " (" + options +
           ", USE_TMP_FILE false)";
}

[[noreturn]] void fail_output(const std::string &where, int error) {
    throw std::runtime_error("can't write to " + where + ": " + std::strerror(error));
}

// Passes what the engine writes into a pipe on to a descriptor.
class OutputPipe {
  public:
    OutputPipe(Database *database, int to, bool is_json)
        : database_(database), to_(to), is_json_(is_json) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) fail_output("a pipe", errno);
        out_ = Descriptor(ends[0]);
        in_ = Descriptor(ends[1]);
        // Last: it uses the ends of the pipe.
        thread_ = std::thread([this] { pass_on(); });
    }
    ~OutputPipe() { close(); }
    OutputPipe(const OutputPipe &) = delete;
    OutputPipe &operator=(const OutputPipe &) = delete;

    int descriptor() const { return in_.get(); }
    // Waits for the last byte; the errno of a failed write, or 0.
    int close() {
        in_ = Descriptor();  // the end of the pipe, for the thread
        if (thread_.joinable()) thread_.join();
        return error_;
    }

  private:
    void pass_on() {
        char bytes[65536];
        std::string json;
        for (;;) {
            const ssize_t count = read(out_.get(), bytes, sizeof bytes);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return;
            if (error_ != 0) continue;  // the engine must not wait for a reader
            std::string_view piece(bytes, static_cast<std::size_t>(count));
            if (is_json_) {
                json.clear();
                nulls_.pass(piece, &json);
                piece = json;
            }
            if (!write_all(to_, piece)) {
                error_ = errno;
                // No one reads the rest, so the query needn't make it.
                database_->cancel();
            }
        }
    }

    Database *database_;
    int to_;
    bool is_json_;
    JsonNulls nulls_;
    Descriptor out_;
    Descriptor in_;
    int error_ = 0;  // of the thread until it has ended
    std::thread thread_;
};

bool is_json(std::string_view options) {
    return options.starts_with("FORMAT json");
}

// A thread holds a group of rows until it is written: a few MB, however wide the rows are. In file
// order the engine ends groups by a number of rows alone.
std::string row_groups(const Database &database, std::string_view options) {
    const bool is_sized = options.starts_with("FORMAT parquet") && !database.is_ordered();
    return is_sized ? ", ROW_GROUP_SIZE_BYTES '12MB'" : "";
}

// Has the engine write the rows of a query to `to`, by way of a pipe.
void pipe_query(Database *database, const std::string &query, const std::string &options, int to,
                const std::string &where) {
    OutputPipe pipe(database, to, is_json(options));
    std::exception_ptr failure;
    try {
        database->run(copy_statement(query, pipe.descriptor(), options));
    } catch (const EngineError &) {
        failure = std::current_exception();
    }
    // First, because a failed write cancels the query: the cancel would hide the reason.
    if (const int error = pipe.close()) fail_output(where, error);
    if (failure) std::rethrow_exception(failure);
}

void print_copy(Database *database, const std::string &query, const char *options) {
    // What was printed before goes out before the pipe's bytes, which pass stdio by.
    std::fflush(stdout);
    pipe_query(database, query, options, STDOUT_FILENO, "standard output");
}

void print_table(Database *database, const std::string &statement, TableStyle style) {
    TextTable table(style);
    database->fetch(
        statement, [&](const std::vector<std::string> &names) { table.begin(names); },
        [&](const Row &row) {
            table.add(row);
            // At once: a full disk would otherwise be told after the last of many rows.
            if (std::ferror(stdout) != 0) fail_output("standard output", errno);
        });
    table.end();
}

// Others have no rows, or texts of the engine alone.
void print_text(Database *database, const std::string &statement) {
    database->fetch(
        statement, [](const std::vector<std::string> &) {},
        [](const Row &row) {
            if (row.back().data())
                std::printf("%.*s\n", static_cast<int>(row.back().size()), row.back().data());
        });
}

}  // namespace

void print_query(Database *database, const std::string &statement, Form form) {
    // Only a SELECT can stand in brackets, within a COPY or another SELECT.
    if (database->type_of(statement) != DUCKDB_STATEMENT_TYPE_SELECT)
        return print_text(database, statement);
    const std::string texts = "SELECT COLUMNS(*)::VARCHAR FROM (" + statement + "\n)";
    switch (form) {
        case Form::csv:
            return print_copy(database, statement, "FORMAT csv, HEADER");
        case Form::json:
            return print_copy(database, statement, "FORMAT json, ARRAY false");
        case Form::table:
            return print_table(database, texts, TableStyle::terminal);
        case Form::markdown:
            return print_table(database, texts, TableStyle::markdown);
    }
}

void store_query(Database *database, const std::string &statement, const std::string &path) {
    // A link stays one: the file it leads to is replaced.
    std::error_code error;
    const std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
    // Not all file systems have files without a name.
    NewFile nameless = NewFile::nameless(target, new_file_mode);
    NewFile file = nameless.is_open() ? std::move(nameless) : NewFile::named(target, new_file_mode);
    if (error || !file.is_open()) fail_output(path, errno);
    const std::string format = format_of_path(path);
    const int descriptor = file.descriptor().get();
    // Only JSON has words to replace; the engine writes the other formats straight to the file.
    if (is_json(format))
        pipe_query(database, statement, format, descriptor, path);
    else
        database->run(
            copy_statement(statement, descriptor, format + row_groups(*database, format)));
    // Only now: a query that fails leaves the old file as it was.
    if (!file.take_name()) fail_output(path, errno);
}

}  // namespace vrn::sqltool
