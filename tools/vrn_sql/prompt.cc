#include "vrn_sql/prompt.h"

#include <editline/readline.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "common/tool_main.h"
#include "utils/c_ptr.h"
#include "vrn_sql/query_watch.h"
#include "vrn_sql/statements.h"

namespace vrn::sqltool {
namespace {

constexpr char history_name[] = "/.vrn_sql_history";
constexpr int max_history = 1000;

constexpr char help[] =
    ".tables        the tables of the files\n"
    ".schema NAME   the columns of a table; of all without a name\n"
    ".mode FORM     table, csv, json or markdown\n"
    ".quit          end, as Ctrl-D does\n"
    "All else is SQL, up to a semicolon. Ctrl-C drops a line and ends a query.\n";

// Ctrl-C ends the reading of a line, and nothing else, while in scope.
class InterruptibleRead {
  public:
    InterruptibleRead() {
        struct sigaction action {};
        action.sa_handler = [](int) {};  // no SA_RESTART: the read ends
        sigaction(SIGINT, &action, &old_action_);
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
    ~InterruptibleRead() {
        hold_signals();
        sigaction(SIGINT, &old_action_, nullptr);
    }
    InterruptibleRead(const InterruptibleRead &) = delete;
    InterruptibleRead &operator=(const InterruptibleRead &) = delete;

  private:
    struct sigaction old_action_ {};
};

class Prompt {
  public:
    explicit Prompt(QueryRunner *runner) : runner_(*runner) {
        if (const char *home = std::getenv("HOME")) history_ = std::string(home) + history_name;
        using_history();
        stifle_history(max_history);
        if (!history_.empty()) read_history(history_.c_str());
    }

    void run() {
        while (!has_ended_) {
            std::optional<std::string> line = read_line();
            if (!line) break;
            take(*line);
        }
        std::puts("");
    }

  private:
    // None at the end; an empty line after Ctrl-C, which drops what was typed.
    std::optional<std::string> read_line() {
        const InterruptibleRead interruptible;
        // Null is both the end of input and a read that Ctrl-C ended: only errno tells which.
        errno = 0;
        const CString line(readline(pending_.empty() ? "vrn> " : "...> "));
        if (line) return line.get();
        if (errno != EINTR) return std::nullopt;
        std::puts("^C");
        pending_.clear();
        return "";
    }

    void take(const std::string &line) {
        if (pending_.empty() && line.starts_with('.')) {
            remember(line);
            return run_command(line);
        }
        pending_ += (pending_.empty() ? "" : "\n") + line;
        std::string rest;
        const std::vector<std::string> statements = split_statements(pending_, &rest);
        if (statements.empty()) {
            if (rest.empty()) pending_.clear();
            return;
        }
        // Before it runs, so that a query which ends the program is in the history, too.
        remember(pending_);
        pending_ = rest;
        for (const std::string &statement : statements) runner_.run_all(statement);
        std::fflush(stdout);
    }

    void remember(const std::string &text) {
        add_history(text.c_str());
        // After each statement: a kill loses none.
        if (!history_.empty()) write_history(history_.c_str());
    }

    void run_command(const std::string &line) {
        const std::size_t blank = line.find(' ');
        const std::string command = line.substr(0, blank);
        const std::string argument = blank == line.npos ? "" : line.substr(blank + 1);
        Form form{};
        if (command == ".quit" || command == ".exit") {
            has_ended_ = true;
        } else if (command == ".tables") {
            runner_.run_all(
                "SELECT table_name AS name FROM information_schema.tables ORDER BY ALL");
        } else if (command == ".schema" && argument.empty()) {
            runner_.run_all(
                "SELECT table_name AS name, column_name AS column, data_type AS type "
                "FROM information_schema.columns ORDER BY table_name, ordinal_position");
        } else if (command == ".schema") {
            runner_.run_all("SELECT column_name AS column, column_type AS type FROM (DESCRIBE " +
                            quoted_name(argument) + ")");
        } else if (command == ".mode" && form_of_name(argument, &form)) {
            runner_.set_form(form);
        } else {
            std::fputs(help, stdout);
        }
    }

    QueryRunner &runner_;
    std::string history_;  // empty: it isn't kept
    std::string pending_;  // of a statement that has no end yet
    bool has_ended_ = false;
};

}  // namespace

bool run_prompt(QueryRunner *runner) {
    if (isatty(STDIN_FILENO) == 0) {
        const std::string text{std::istreambuf_iterator<char>(std::cin), {}};
        return runner->run_all(text);
    }
    Prompt(runner).run();
    return true;
}

}  // namespace vrn::sqltool
