// Memory that runs out at a chosen allocation: of malloc and its kin, of new, or of a library.
#pragma once

#include <functional>
#include <string>

namespace vrn::test {

// Successful allocations until one fails; below 0, as at the start and after that one, none does.
extern int allocations_left;

extern long allocated_blocks;  // not yet freed
extern int failed_allocations;

// Lets the allocation after so many others fail; with `lasts`, all that follow it, too.
void begin_shortage(int successes, bool lasts);
void end_shortage();

// Calls `work` again and again, each time with another of its allocations between start_shortage()
// and end_shortage() failing, alone and with all that follow. `work` gives its result as a text,
// empty when a failure was told. Expects the result of a call without a shortage, or a failure,
// and no leak.
void start_shortage();
void expect_all_or_nothing(const std::function<std::string()> &work);

}  // namespace vrn::test
