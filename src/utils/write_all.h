// Writing to descriptors whatever they lead to.
#pragma once

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace vrn {

// False, with errno set, when the rest can't be written. Waits where the descriptor doesn't.
[[nodiscard]] inline bool write_all(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EAGAIN) {
            // A pipe that another program of its job has set so.
            pollfd room = {file, POLLOUT, 0};
            ::poll(&room, 1, -1);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace vrn
