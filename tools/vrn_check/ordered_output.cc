#include "vrn_check/ordered_output.h"

#include <cstdio>

namespace vrn::check {

bool OrderedOutput::begin(std::size_t piece) {
    std::unique_lock lock(mutex_);
    turn_.wait(lock, [&] { return has_ended_ || piece < front_ + max_ahead_; });
    return !has_ended_;
}

void OrderedOutput::append(std::size_t piece, const std::string &text) {
    std::unique_lock lock(mutex_);
    // The turn comes: pieces are begun in order, and none before this one waits for it.
    turn_.wait(lock, [&] { return has_ended_ || piece == front_; });
    write(text);
}

void OrderedOutput::end(std::size_t piece, std::string text) {
    const std::lock_guard lock(mutex_);
    ended_[piece] = std::move(text);
    while (!ended_.empty() && ended_.begin()->first == front_) {
        write(ended_.begin()->second);
        ended_.erase(ended_.begin());
        ++front_;
    }
    turn_.notify_all();
}

void OrderedOutput::abandon() {
    const std::lock_guard lock(mutex_);
    has_ended_ = true;
    turn_.notify_all();
}

// The caller tells the failure, which stays in the stream.
void OrderedOutput::write(const std::string &text) {
    if (has_ended_) return;
    has_ended_ = std::fwrite(text.data(), 1, text.size(), stdout) != text.size();
    if (has_ended_) turn_.notify_all();
}

}  // namespace vrn::check
