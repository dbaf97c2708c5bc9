// Input: the choices that make a type or a counters schema, and a row of it. The JSON text of the
// row must equal the printed tree.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "support/json_difference.h"

extern "C" int LLVMFuzzerTestOneInput(const char *data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(data + 1, size - 1);
    const bool is_event = data[0] % 2 == 0;
    const std::string found =
        is_event ? vrn::test::event_difference(bytes) : vrn::test::counters_difference(bytes);
    if (found.empty()) return 0;
    std::fputs(found.c_str(), stderr);
    std::abort();
}
