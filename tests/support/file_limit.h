// Files that may not grow, as on a full disk.
#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstdint>

namespace vrn::test {

// Does `action` while no file of this process grows beyond `bytes`: writes come back short.
template <typename Action>
void with_file_limit(std::uint64_t bytes, Action action) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {bytes, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    action();
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
}

}  // namespace vrn::test
