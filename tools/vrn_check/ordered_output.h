// Standard output that several threads share, each for pieces of work of its own.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace vrn::check {

// Texts come out in the order of the pieces, which are numbered from 0 and begun in that order.
// What waits for its turn is bounded: by the number of pieces that may be ahead, and by append(),
// which waits, too.
class OrderedOutput {
  public:
    explicit OrderedOutput(std::size_t max_ahead) : max_ahead_(max_ahead) {}

    // Waits until `piece` may begin. False when the run has ended: a write failed.
    [[nodiscard]] bool begin(std::size_t piece);
    // Waits for the turn of the piece, then writes at once.
    void append(std::size_t piece, const std::string &text);
    // Hands over the last text of the piece.
    void end(std::size_t piece, std::string text);
    // Nobody waits any more, and nothing is written.
    void abandon();

  private:
    void write(const std::string &text);

    std::size_t max_ahead_;
    std::mutex mutex_;
    std::condition_variable turn_;
    std::size_t front_ = 0;  // the piece whose turn it is
    std::map<std::size_t, std::string> ended_;
    bool has_ended_ = false;  // abandoned, or a write failed
};

}  // namespace vrn::check
