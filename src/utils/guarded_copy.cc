#include "utils/guarded_copy.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace vrn {
namespace {

// What a pipe holds by default; a step beyond its room is cut short by the kernel.
constexpr std::size_t step_limit = 65536;

// The kernel checks both addresses of a transfer and answers EFAULT, where a load or a store of our
// own would be a signal. Non-blocking: a full pipe must not wait for a reader that is ourselves.
class Pipe {
  public:
    Pipe() { is_open_ = pipe2(ends_, O_CLOEXEC | O_NONBLOCK) == 0; }
    ~Pipe() {
        if (!is_open_) return;
        close(ends_[0]);
        close(ends_[1]);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    bool is_open() const { return is_open_; }

    // Moves up to `size` bytes through the pipe; 0 with errno set when one side can't be accessed.
    std::size_t pass(char *to, const char *from, std::size_t size) {
        const ssize_t in = retry([&] { return write(ends_[1], from, size); });
        if (in <= 0) return 0;
        std::size_t out = 0;
        while (out < static_cast<std::size_t>(in)) {
            const std::size_t rest = static_cast<std::size_t>(in) - out;
            const ssize_t got = retry([&] { return read(ends_[0], to + out, rest); });
            if (got <= 0) return 0;
            out += static_cast<std::size_t>(got);
        }
        return out;
    }

  private:
    template <typename Call>
    static ssize_t retry(Call call) {
        ssize_t result;
        do {
            result = call();
        } while (result < 0 && errno == EINTR);
        return result;
    }

    int ends_[2];
    bool is_open_;
};

}  // namespace

bool guarded_copy(void *to, const void *from, std::size_t size) {
    Pipe pipe;
    if (!pipe.is_open()) return false;
    auto *target = static_cast<char *>(to);
    const auto *source = static_cast<const char *>(from);
    while (size > 0) {
        const std::size_t moved = pipe.pass(target, source, std::min(size, step_limit));
        if (moved == 0) return false;
        target += moved;
        source += moved;
        size -= moved;
    }
    return true;
}

}  // namespace vrn
