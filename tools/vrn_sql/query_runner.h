// Statements of a run, one after the other, and what became of them.
#pragma once

#include <string>
#include <string_view>

#include "vrn_sql/database.h"
#include "vrn_sql/query_output.h"

namespace vrn::sqltool {

inline constexpr char program[] = "vrn_sql";

class QueryRunner {
  public:
    // Borrows the database.
    QueryRunner(Database *database, Form form) : database_(database), form_(form) {}

    void set_form(Form form) { form_ = form; }

    // Runs the statements of `text`, up to the first that fails; all that fails is told on standard
    // error. False after a failure, a fault of a file, or a cancel.
    bool run_all(std::string_view text);
    // Stores the rows of the only statement of `text`.
    bool store(std::string_view text, const std::string &path);

    // The signal that ended a statement; 0 when none did.
    int signal() const { return signal_; }

  private:
    template <typename Work>
    bool watch(Work work);

    Database *database_;
    Form form_;
    int signal_ = 0;
};

// Tells the engine's words, whose lines stay lines.
void print_engine_error(std::string_view text);

}  // namespace vrn::sqltool
