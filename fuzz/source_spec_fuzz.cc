// Input: what names sources: the text of a range, and again the content of a file of names.
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "utils/source_list.h"

namespace {

// A file in memory with this content; the same one each time.
std::string file_of(const std::string &content) {
    static const int file = memfd_create("sources", MFD_CLOEXEC);
    if (ftruncate(file, 0) != 0 || pwrite(file, content.data(), content.size(), 0) < 0) return {};
    return "/proc/self/fd/" + std::to_string(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const vrn_source_list_ptr range(vrn_source_list_from_range(text.c_str()));
    const vrn_source_list_ptr names(vrn_source_list_from_spec(file_of(text).c_str()));
    return 0;
}
