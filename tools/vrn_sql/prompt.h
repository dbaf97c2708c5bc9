// The prompt: lines with a history, statements that end with a semicolon, commands with a point.
#pragma once

#include "vrn_sql/query_runner.h"

namespace vrn::sqltool {

// Reads until the end of standard input or .quit. Without a terminal it is all of the input that is
// run, and false is returned after the first failure; at a terminal failures are told, no more.
bool run_prompt(QueryRunner *runner);

}  // namespace vrn::sqltool
