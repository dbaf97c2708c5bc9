// Input: the choices that make a type or a counters schema, and a row of it, or a metrics block.
// The JSON text must equal the printed tree.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "support/json_difference.h"
#include "support/metrics_difference.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    using namespace vrn::test;
    if (size == 0) return 0;
    constexpr std::string (*differences[])(std::string_view) = {
        event_difference, counters_difference, metrics_difference};
    const std::string_view bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    const std::string found = differences[data[0] % std::size(differences)](bytes);
    if (found.empty()) return 0;
    std::fputs(found.c_str(), stderr);
    std::abort();
}
