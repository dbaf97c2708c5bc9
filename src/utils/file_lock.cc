#include "utils/file_lock.h"

#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace vrn {
namespace {

bool take(int file) {
    using namespace std::chrono_literals;
    // A writer that was stopped with the lock in hand must not hang every other one for good.
    constexpr auto limit = 1min;
    constexpr auto pause = 50us;  // about the length of an append
    for (auto waited = 0us; ::flock(file, LOCK_EX | LOCK_NB) != 0; waited += pause) {
        // Where the file system knows no locks, the caller goes on without one.
        if (errno != EWOULDBLOCK && errno != EINTR) return true;
        if (waited >= limit) return errno = EWOULDBLOCK, false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

}  // namespace

FileLock::FileLock(int file) : file_(file), is_held_(take(file)) {}

FileLock::~FileLock() {
    // The scope may be left because of a failure whose errno the caller still has to report.
    const int kept = errno;
    ::flock(file_, LOCK_UN);
    errno = kept;
}

}  // namespace vrn
