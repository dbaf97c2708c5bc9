// A chunk of pages: the input as page blocks or, when its first byte is odd, as a page's payload.
#include "fuzz_file.h"
#include "reader/sample_files.h"
#include "support/page_blocks.h"

extern "C" int LLVMFuzzerTestOneInput(const char *data, std::size_t size) {
    if (size == 0) return 0;
    const std::string header = vrn::test::sample_data_file().substr(0, 256);
    const std::string rest(data + 1, size - 1);
    const bool is_payload = data[0] % 2 != 0;
    vrn::fuzz::read_data_file(
        header + (is_payload ? vrn::test::encode_page(VRN_ENCODING_SNAPPY, rest) : "VRNP" + rest));
    return 0;
}
