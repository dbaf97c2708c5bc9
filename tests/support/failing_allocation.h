// Memory that runs out at a chosen allocation.
#pragma once

namespace vrn::test {

// Successful calls of operator new until one throws; below 0, as at the start and behind that one,
// none does.
extern int allocations_left;

}  // namespace vrn::test
