// What is served: the chart page, its data in other forms, and how we are.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "vrn_serve/access.h"
#include "vrn_serve/follower.h"
#include "vrn_serve/http_message.h"
#include "vrn_serve/live_store.h"

namespace vrn::serve {

struct SiteOptions {
    AccessRules access{};
    std::function<bool(const std::string &name)> shows_first{};  // see ChartPageOptions
};

// Answers by the ends of paths, so that a proxy may put any prefix before them.
class Site {
  public:
    // Borrows the store. For any number of threads, as `file_state` is.
    Site(SiteOptions options, LiveStore *store, std::function<FollowState()> file_state);

    // With a line at debug level.
    Answer answer(const Request &request);

  private:
    struct Route;
    using Clock = std::chrono::steady_clock;

    struct Page {
        std::string html;
        std::string policy;  // Content-Security-Policy
        std::uint64_t version;
        Clock::time_point begun;
    };

    static const Route *find_route(const std::string &path);
    Answer answer_by_route(const Request &request);

    Answer dump(const Request &request);
    Answer csv(const Request &request);
    Answer points(const Request &request);
    Answer clear(const Request &request);
    Answer newest_values(const Request &request);
    Answer health(const Request &request);
    Answer login(const Request &request);
    Answer root(const Request &request);
    Answer icon(const Request &request);

    std::shared_ptr<const Page> page();

    const Access access_;
    const std::function<bool(const std::string &name)> shows_first_;
    LiveStore *store_;
    const std::function<FollowState()> file_state_;
    std::mutex page_mutex_;                    // one page is built at a time
    std::shared_ptr<const Page> newest_page_;  // guarded by it
};

}  // namespace vrn::serve
