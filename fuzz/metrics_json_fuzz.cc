// Input: one CNTX block. Its JSON text must equal the printed tree, its faults those of the tree.
#include <cstdio>
#include <cstdlib>

#include "support/metrics_difference.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string found = vrn::test::metrics_block_difference({data, size}, size % 16 == 0);
    if (found.empty()) return 0;
    std::fputs(found.c_str(), stderr);
    std::abort();
}
