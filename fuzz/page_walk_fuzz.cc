// Input: a byte of choices, then a chunk of page blocks or, with the byte's highest bit, the
// payload of one page.
#include <string>

#include "sample_reader.h"
#include "support/page_blocks.h"
#include "support/sample_files.h"

namespace {

constexpr std::uint32_t chunk_size = 1 << 16;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const std::string header = vrn::test::sample_file_header(chunk_size);
    if (size == 0) return 0;
    const std::string rest(data + 1, data + size);
    const bool is_payload = (data[0] & 128) != 0;
    const std::string file =
        header + (is_payload ? vrn::test::encode_page(VRN_ENCODING_SNAPPY, rest) : rest);
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(file.data());
    vrn::fuzz::read_data_file(data[0], {bytes, file.size()});
    return 0;
}
