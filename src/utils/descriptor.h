// Owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace vrn {

class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int file) : file_(file) {}  // a negative one counts as closed
    ~Descriptor() {
        if (is_open()) ::close(file_);
    }
    Descriptor(Descriptor &&other) noexcept : file_(std::exchange(other.file_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(file_, other.file_);
        return *this;
    }

    bool is_open() const { return file_ >= 0; }
    int get() const { return file_; }

    // True when it was open and the kernel reports no write as failed.
    bool close() { return ::close(std::exchange(file_, -1)) == 0; }

  private:
    int file_ = -1;
};

}  // namespace vrn
