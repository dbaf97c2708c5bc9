// Input: the content of a scope file, and at the same time a scope list and a source to decide on.
#include <cstdint>
#include <string>

#include "data/writer/data_page_filter.h"
#include "memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    vrn_data_page_filter_t filter;
    vrn_data_page_filter_init(&filter, "", text, text, "", "", vrn::fuzz::file_of(text), "");
    vrn_data_page_filter_print_config(filter);
    vrn_data_page_t page = {};
    text.copy(page.source.source, sizeof page.source.source);
    static_cast<void>(vrn_data_page_filter_accepts_page(filter, page));
    return 0;
}
