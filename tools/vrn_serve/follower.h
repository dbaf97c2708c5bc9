// Keeps a store up to date with files.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "utils/descriptor.h"
#include "vrn_serve/file_tail.h"
#include "vrn_serve/folder_watch.h"
#include "vrn_serve/live_store.h"

namespace vrn::serve {

struct FollowState {
    std::uint64_t files = 0;     // known at present
    std::uint64_t waiting = 0;   // of those, with something to read
    std::uint64_t losses = 0;    // blocks and pages that could not be taken
    bool has_caught_up = false;  // all that was there at the start has been read
};

// Follows files and folders in a thread of its own, from its creation to its end. What is there
// already is read newest file first; what is written meanwhile comes before that.
class Follower {
  public:
    // Borrows options and store.
    Follower(std::vector<std::string> paths, const series::SeriesOptions *options,
             LiveStore *store);
    ~Follower();
    Follower(const Follower &) = delete;
    Follower &operator=(const Follower &) = delete;

    FollowState state() const;

  private:
    using Clock = std::chrono::steady_clock;

    enum class Queue : std::uint8_t { none, live, backlog, rest };

    struct Entry {
        SeenFile seen;
        FileTail tail{};
        Queue queue = Queue::none;
        bool takes_rest = false;  // all whole chunks were taken
    };

    void run();
    void run_once();
    void look();
    void note(const SeenFile &seen, Queue queue);
    void put(Entry *entry, Queue queue);
    void take_next();
    void take_from(Entry *entry);
    void queue_settled();
    void wait();
    void publish();

    LiveStore *store_;
    series::SchemaFolders folders_;
    TailTools tools_;
    FolderWatch watch_;
    std::map<tool::FileId, Entry> entries_;
    std::deque<tool::FileId> live_;                            // may name files that are gone
    std::set<std::pair<std::int64_t, tool::FileId>> backlog_;  // by time of change
    std::set<tool::FileId> rest_;                              // wait until nobody writes to them
    bool must_look_ = true;
    bool is_first_look_ = true;
    Clock::time_point next_look_{};
    Clock::time_point next_expiry_{};
    Descriptor stop_;  // readable once the thread is to end
    mutable std::mutex mutex_;
    FollowState state_;  // guarded by `mutex_`
    // Last, as the thread uses all of the above from its start.
    std::thread thread_;
};

}  // namespace vrn::serve
