// Owner of a file descriptor, and what tells the file that it leads to.
#pragma once

#include <sys/stat.h>
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

    // To whoever closes it.
    int release() { return std::exchange(file_, -1); }

    // False when the kernel tells only now that a write failed.
    [[nodiscard]] bool close() { return !is_open() || ::close(std::exchange(file_, -1)) == 0; }

  private:
    int file_ = -1;
};

// Differs between all files that exist, whatever their names.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity &) const = default;
};

inline FileIdentity identity_of(const struct stat &status) {
    return {status.st_dev, status.st_ino};
}

}  // namespace vrn
