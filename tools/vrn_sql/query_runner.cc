#include "vrn_sql/query_runner.h"

#include <cstdio>

#include "common/shown_text.h"
#include "common/tool_main.h"
#include "vrn_sql/query_watch.h"
#include "vrn_sql/statements.h"

namespace vrn::sqltool {
namespace {

// Tells of the files with faults since the last call. False when there are any.
bool tell_faults(Database *database) {
    struct Told {
        bool any = false;
        static void show(void *to, const char *path, const char *reason, std::uint64_t count) {
            static_cast<Told *>(to)->any = true;
            std::string line = std::string(path) + ": " + reason;
            if (count > 1) line += " (and " + std::to_string(count - 1) + " more)";
            tool::print_error(program, line);
        }
    } told;
    database->session()->take_faults(Told::show, &told);
    return !told.any;
}

}  // namespace

void print_engine_error(std::string_view text) {
    bool is_first = true;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (is_first)
            tool::print_error(program, line);
        else
            std::fprintf(stderr, "%s\n", tool::shown_text(line).c_str());
        is_first = false;
    }
}

template <typename Work>
bool QueryRunner::watch(Work work) {
    bool done = true;
    std::string error;
    {
        // Ends before anything is printed: the bar is cleared then.
        QueryWatch watch(database_);
        try {
            work();
        } catch (const std::exception &failure) {
            // Also of std::bad_alloc: at the prompt the next query may be smaller.
            done = false;
            error = failure.what();
        }
        signal_ = watch.signal();
    }
    // A signal that came too late changed nothing.
    if (done) signal_ = 0;
    if (signal_ != 0)
        tool::print_error(program, "the query was cancelled");
    else if (!done)
        print_engine_error(error);
    // After a failure, too: the faults may be what led to it.
    const bool has_no_faults = tell_faults(database_);
    return done && has_no_faults;
}

bool QueryRunner::run_all(std::string_view text) {
    std::string rest;
    std::vector<std::string> statements = split_statements(text, &rest);
    if (!rest.empty()) statements.push_back(rest);
    bool good = true;
    for (const std::string &statement : statements) {
        bool has_run = false;
        good &= watch([&] {
            print_query(database_, statement, form_);
            has_run = true;
        });
        // Later statements may need what this one failed to make. Faults of files are no reason to
        // stop.
        if (!has_run) break;
    }
    return good;
}

bool QueryRunner::store(std::string_view text, const std::string &path) {
    std::string rest;
    std::vector<std::string> statements = split_statements(text, &rest);
    if (!rest.empty()) statements.push_back(rest);
    if (statements.size() != 1) throw tool::UsageError("--output takes one query");
    return watch([&] { store_query(database_, statements[0], path); });
}

}  // namespace vrn::sqltool
