// Steps that are taken back unless all that follow them succeed, too.
#pragma once

#include <utility>

namespace vrn {

// Calls `undo`, which throws nothing, at the end of its scope unless keep() was called.
template <typename Undo>
class Rollback {
  public:
    explicit Rollback(Undo undo) : undo_(std::move(undo)) {}
    ~Rollback() {
        if (!is_kept_) undo_();
    }
    Rollback(const Rollback &) = delete;
    Rollback &operator=(const Rollback &) = delete;

    void keep() { is_kept_ = true; }

  private:
    Undo undo_;
    bool is_kept_ = false;
};

}  // namespace vrn
