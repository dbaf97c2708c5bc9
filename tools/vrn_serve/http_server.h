// HTTP/1.1 for a few clients at a time, none of which can hold up the others for long.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "utils/descriptor.h"
#include "vrn_serve/http_message.h"

struct MHD_Daemon;

namespace vrn::serve {

struct HttpLimits {
    unsigned connections = 64;                  // others wait until they are accepted
    std::chrono::milliseconds request{10'000};  // from the connection to the last byte of a request
    std::chrono::milliseconds answer{300'000};  // until the last byte was taken
    unsigned stall_seconds = 10;                // without a byte either way
    std::size_t head_bytes = 32 << 10;          // of request line and header
    std::size_t body_bytes = 4 << 10;
};

class HttpServer {
  public:
    // Called by several threads. Must not throw but std::bad_alloc.
    using Handler = std::function<Answer(const Request &request)>;

    // Serves what comes to `listening` until its end. Throws std::runtime_error.
    HttpServer(Descriptor listening, const HttpLimits &limits, Handler handler);
    // Ends all connections, at most after `stop_time` of waiting for answers under way.
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    static constexpr std::chrono::milliseconds stop_time{300};

  private:
    class Glue;
    using Clock = std::chrono::steady_clock;

    struct Connection {
        Clock::time_point deadline;
        bool is_answered = false;  // the answer is under way
        bool is_ended = false;     // by us
    };

    void accept_connections();
    void add(Descriptor socket);
    void watch_deadlines();

    const HttpLimits limits_;
    const Handler handler_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<int, Connection> connections_;  // by socket; guarded by `mutex_`
    bool is_stopping_ = false;               // guarded by `mutex_`
    Descriptor listening_;
    Descriptor stop_;  // readable once nobody new is accepted
    MHD_Daemon *daemon_ = nullptr;
    std::thread acceptor_;
    std::thread watchdog_;
};

}  // namespace vrn::serve
