// A lock on an open file, against other processes and other handles of this one.
#pragma once

namespace vrn {

// Held from construction on. It goes with its process, so that a kill leaves none behind. Where the
// file system knows no locks, nothing is held and all goes on as if it were.
class FileLock {
  public:
    // Waits for its turn for up to a minute: a process that was stopped must not stop others too.
    explicit FileLock(int file);
    ~FileLock();
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

    // False with errno set by the constructor when the wait was in vain.
    bool is_held() const { return is_held_; }

  private:
    int file_;
    bool is_held_;
};

}  // namespace vrn
