// Input: what names sources: the text of a range, and again the content of a file of names.
#include <string>

#include "memory_file.h"
#include "utils/source_list.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const vrn_source_list_ptr range(vrn_source_list_from_range(text.c_str()));
    const vrn_source_list_ptr names(vrn_source_list_from_spec(vrn::fuzz::file_of(text).c_str()));
    return 0;
}
