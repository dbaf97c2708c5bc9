#include "vrn_check/file_bytes.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace vrn::check {
namespace {

[[noreturn]] void fail(int cause) {
    throw std::system_error(cause, std::generic_category());
}

}  // namespace

void write_at(const Descriptor &file, Bytes bytes, std::uint64_t offset) {
    while (!bytes.empty()) {
        const ssize_t count =
            ::pwrite(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        // 0 bytes without a cause: to try again might never end.
        if (count <= 0) fail(count < 0 ? errno : ENOSPC);
        offset += static_cast<std::uint64_t>(count);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

void set_size(const Descriptor &file, std::uint64_t size) {
    if (::ftruncate(file.get(), static_cast<off_t>(size)) != 0) fail(errno);
}

}  // namespace vrn::check
