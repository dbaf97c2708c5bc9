// The whole reader on one data file.
#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const char *data, std::size_t size) {
    vrn::fuzz::read_data_file({data, size});
    return 0;
}
