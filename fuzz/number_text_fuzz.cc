// Input: doubles. Their texts must be those of printf.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/printf_difference.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    using namespace vrn::test;
    for (double value = 0; size >= sizeof value; data += sizeof value, size -= sizeof value) {
        std::memcpy(&value, data, sizeof value);
        const std::string found = double_difference(value) + fixed_difference(value);
        if (found.empty()) continue;
        std::fprintf(stderr, "%a: %s\n", value, found.c_str());
        std::abort();
    }
    return 0;
}
