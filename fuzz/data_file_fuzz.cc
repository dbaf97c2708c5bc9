// Input: a byte of choices, then a data file for the whole reader.
#include "sample_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > 0) vrn::fuzz::read_data_file(data[0], {data + 1, size - 1});
    return 0;
}
