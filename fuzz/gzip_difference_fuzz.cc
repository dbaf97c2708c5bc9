// Input: a gzip file, or the stream of a gzip page. What the quick libraries make of it must be
// what zlib alone does.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "support/gzip_difference.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string bytes(data, data + size);
    const std::string found =
        vrn::test::gzip_file_difference(bytes) + vrn::test::gzip_page_difference(bytes);
    if (found.empty()) return 0;
    std::fputs(found.c_str(), stderr);
    std::abort();
}
