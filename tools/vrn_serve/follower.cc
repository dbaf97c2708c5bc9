#include "vrn_serve/follower.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <exception>

#include "utils/log.h"

namespace vrn::serve {
namespace {

using namespace std::chrono_literals;

// How long nobody has written to a file that is taken as it is.
constexpr auto settle_time = 2s;
constexpr auto least_look_interval = 2s;
// Of its time the thread spends at most one part in so many on looking.
constexpr int look_share = 20;
constexpr auto expiry_interval = 1s;
// Bounds how late expiry and settled files are seen to, too.
constexpr int wait_ms = 500;

bool has_settled(const SeenFile &file) {
    const auto modified = std::chrono::nanoseconds(file.modified_ns);
    return std::chrono::system_clock::now().time_since_epoch() - modified >= settle_time;
}

}  // namespace

Follower::Follower(std::vector<std::string> paths, const series::SeriesOptions *options,
                   LiveStore *store)
    : store_(store),
      folders_(options),
      tools_{.store = store, .options = options, .folders = &folders_},
      watch_(std::move(paths)),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_([this] { run(); }) {}

Follower::~Follower() {
    eventfd_write(stop_.get(), 1);
    thread_.join();
}

FollowState Follower::state() const {
    const std::lock_guard guard(mutex_);
    return state_;
}

void Follower::run() {
    eventfd_t stopped = 0;
    // Fails until somebody asks us to stop.
    while (eventfd_read(stop_.get(), &stopped) != 0) {
        try {
            run_once();
        } catch (const std::exception &error) {
            // What is missing was lost for want of memory; files that follow may need less.
            VRN_LOG(VRN_LOG_ERROR, "Following the files: %s", error.what());
        }
    }
}

void Follower::run_once() {
    for (const SeenFile &seen : watch_.news(&must_look_)) note(seen, Queue::live);
    if (must_look_ || Clock::now() >= next_look_) look();
    queue_settled();
    take_next();
    if (Clock::now() >= next_expiry_) {
        store_->expire();
        next_expiry_ = Clock::now() + expiry_interval;
    }
    publish();
    if (live_.empty() && backlog_.empty()) wait();
}

void Follower::look() {
    const auto start = Clock::now();
    std::set<tool::FileId> found;
    for (const SeenFile &seen : watch_.look()) {
        found.insert(seen.id);
        // What was there at the start waits for what is written now.
        note(seen, is_first_look_ ? Queue::backlog : Queue::live);
    }
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        if (found.contains(entry->first)) {
            ++entry;
            continue;
        }
        // Out of its queue first: a queue must not name an entry that is gone.
        put(&entry->second, Queue::none);
        entry = entries_.erase(entry);
    }
    must_look_ = false;
    is_first_look_ = false;
    const auto took = Clock::now() - start;
    next_look_ = Clock::now() + std::max<Clock::duration>(least_look_interval, look_share * took);
}

void Follower::note(const SeenFile &seen, Queue queue) {
    const auto [place, is_new] = entries_.try_emplace(seen.id);
    Entry *entry = &place->second;
    if (entry->seen == seen) return;
    // One that was only renamed holds nothing new.
    const bool has_changed =
        is_new || entry->seen.size != seen.size || entry->seen.modified_ns != seen.modified_ns;
    const Queue before = entry->queue;
    // Before `seen` changes: the backlog has the entry under its old time.
    put(entry, Queue::none);
    entry->seen = seen;
    if (has_changed) entry->takes_rest = false;
    put(entry, has_changed ? queue : before);
}

void Follower::put(Entry *entry, Queue queue) {
    const tool::FileId &id = entry->seen.id;
    if (entry->queue == Queue::backlog) backlog_.erase({entry->seen.modified_ns, id});
    if (entry->queue == Queue::rest) rest_.erase(id);
    entry->queue = queue;
    // Not searched when an entry leaves: take_next() passes over those that did.
    if (queue == Queue::live) live_.push_back(id);
    if (queue == Queue::backlog) backlog_.insert({entry->seen.modified_ns, id});
    if (queue == Queue::rest) rest_.insert(id);
}

void Follower::take_next() {
    while (!live_.empty()) {
        const auto entry = entries_.find(live_.front());
        live_.pop_front();
        if (entry == entries_.end() || entry->second.queue != Queue::live) continue;
        return take_from(&entry->second);
    }
    if (!backlog_.empty()) take_from(&entries_.at(backlog_.rbegin()->second));
}

void Follower::take_from(Entry *entry) {
    const Queue queue = entry->queue;
    put(entry, Queue::none);
    // Nothing in it can be younger than its last change.
    if (entry->seen.modified_ns / 1000 < static_cast<std::int64_t>(store_->oldest_wanted_us()))
        return;
    const std::string &path = entry->seen.path;
    const FileTail::Step step =
        entry->takes_rest ? entry->tail.take_rest(path, &tools_) : entry->tail.take(path, &tools_);
    // A live one goes to the end: a large file doesn't hold up the others.
    if (step == FileTail::Step::more) put(entry, queue);
    if (step != FileTail::Step::waits) return;
    entry->takes_rest = true;
    put(entry, has_settled(entry->seen) ? queue : Queue::rest);
}

void Follower::queue_settled() {
    // Collected first, as put() changes `rest_`.
    std::vector<tool::FileId> settled;
    std::ranges::copy_if(rest_, std::back_inserter(settled), [this](const tool::FileId &id) {
        return has_settled(entries_.at(id).seen);
    });
    for (const tool::FileId &id : settled) put(&entries_.at(id), Queue::live);
}

// Until there is news, or it is time to look after the rest.
void Follower::wait() {
    pollfd events[] = {{stop_.get(), POLLIN, 0}, {watch_.descriptor(), POLLIN, 0}};
    poll(events, std::size(events), wait_ms);
}

void Follower::publish() {
    const std::lock_guard guard(mutex_);
    state_.files = entries_.size();
    state_.waiting = live_.size() + backlog_.size() + rest_.size();
    state_.losses = tools_.losses;
    // Never falls back: files that come later are no backlog.
    state_.has_caught_up |= !is_first_look_ && backlog_.empty();
}

}  // namespace vrn::serve
