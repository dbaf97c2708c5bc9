#include "vrn_serve/http_server.h"

#include <microhttpd.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

#include "utils/log.h"

namespace vrn::serve {
namespace {

constexpr std::size_t read_block = 32 << 10;
// 15 is the largest window; 16 more ask for gzip's frame instead of zlib's.
constexpr int gzip_window_bits = 15 + 16;
constexpr int gzip_memory_level = 8;
constexpr std::chrono::milliseconds accept_pause{50};

// Bytes of an answer on their way out, compressed or not.
class BodyStream {
  public:
    virtual ~BodyStream() = default;
    // Up to `size` bytes; 0 at the end. Throws.
    virtual std::size_t read(char *to, std::size_t size) = 0;
};

class PlainStream final : public BodyStream {
  public:
    explicit PlainStream(Answer answer) : answer_(std::move(answer)) {
        if (answer_.body) rest_ = *answer_.body;
    }

    std::size_t read(char *to, std::size_t size) override {
        if (rest_.empty() && answer_.next_piece && answer_.next_piece(&piece_)) rest_ = piece_;
        const std::size_t count = rest_.copy(to, size);
        rest_.remove_prefix(count);
        return count;
    }

  private:
    Answer answer_;
    std::string piece_;
    std::string_view rest_;
};

class GzipStream final : public BodyStream {
  public:
    explicit GzipStream(Answer answer) : plain_(std::move(answer)), input_(read_block) {
        // Answers are read once: time counts for more than size.
        if (deflateInit2(&stream_, Z_BEST_SPEED, Z_DEFLATED, gzip_window_bits, gzip_memory_level,
                         Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    ~GzipStream() override { deflateEnd(&stream_); }
    GzipStream(const GzipStream &) = delete;
    GzipStream &operator=(const GzipStream &) = delete;

    std::size_t read(char *to, std::size_t size) override {
        stream_.next_out = reinterpret_cast<Bytef *>(to);
        stream_.avail_out = static_cast<uInt>(std::min<std::size_t>(size, read_block));
        const uInt room = stream_.avail_out;
        // 0 bytes would be the end, so go on until there is one.
        while (stream_.avail_out == room && !has_ended_) {
            if (stream_.avail_in == 0 && !input_ended_) {
                stream_.next_in = reinterpret_cast<Bytef *>(input_.data());
                stream_.avail_in = static_cast<uInt>(plain_.read(input_.data(), input_.size()));
                input_ended_ = stream_.avail_in == 0;
            }
            has_ended_ = deflate(&stream_, input_ended_ ? Z_FINISH : Z_NO_FLUSH) == Z_STREAM_END;
        }
        return room - stream_.avail_out;
    }

  private:
    PlainStream plain_;
    std::vector<char> input_;
    z_stream stream_{};
    bool input_ended_ = false;
    bool has_ended_ = false;
};

ssize_t read_body(void *stream, std::uint64_t /*position*/, char *to, std::size_t size) {
    try {
        const std::size_t count = static_cast<BodyStream *>(stream)->read(to, size);
        return count > 0 ? static_cast<ssize_t>(count) : MHD_CONTENT_READER_END_OF_STREAM;
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "An answer was cut short: %s", error.what());
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }
}

void free_body(void *stream) {
    delete static_cast<BodyStream *>(stream);
}

bool wants_gzip(const Request &request) {
    const std::string *accepted = request.field("accept-encoding");
    if (!accepted) return false;
    const std::size_t place = accepted->find("gzip");
    // "gzip;q=0" is how a client says no.
    return place != std::string::npos && accepted->compare(place, 8, "gzip;q=0", 8) != 0;
}

// Null when there is no memory.
MHD_Response *make_response(const Request &request, Answer answer) {
    const auto fields = std::move(answer.fields);
    const std::uint64_t plain_size = answer.body ? answer.body->size() : 0;
    const bool has_content = answer.next_piece || plain_size > 0;
    const bool is_packed = has_content && wants_gzip(request);
    const bool has_size = !is_packed && !answer.next_piece;
    std::unique_ptr<BodyStream> stream;
    if (is_packed)
        stream = std::make_unique<GzipStream>(std::move(answer));
    else
        stream = std::make_unique<PlainStream>(std::move(answer));
    MHD_Response *response = MHD_create_response_from_callback(
        has_size ? plain_size : MHD_SIZE_UNKNOWN, read_block, read_body, stream.get(), free_body);
    if (!response) return nullptr;
    static_cast<void>(stream.release());  // to free_body
    for (const auto &[name, value] : fields)
        MHD_add_response_header(response, name.c_str(), value.c_str());
    if (is_packed) MHD_add_response_header(response, "Content-Encoding", "gzip");
    if (has_content) MHD_add_response_header(response, "Vary", "Accept-Encoding");
    // So that no client keeps a place that another waits for.
    MHD_add_response_header(response, "Connection", "close");
    return response;
}

std::string lower(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](unsigned char byte) {
        return static_cast<char>(std::tolower(byte));
    });
    return result;
}

MHD_Result take_value(void *map, MHD_ValueKind /*kind*/, const char *name, const char *value) {
    (*static_cast<std::map<std::string, std::string> *>(map))[name] = value ? value : "";
    return MHD_YES;
}

MHD_Result take_field(void *map, MHD_ValueKind /*kind*/, const char *name, const char *value) {
    (*static_cast<std::map<std::string, std::string> *>(map))[lower(name)] = value ? value : "";
    return MHD_YES;
}

int socket_of(MHD_Connection *connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

}  // namespace

// What the library calls.
class HttpServer::Glue {
  public:
    static void connection_changed(void *server, MHD_Connection *connection, void ** /*context*/,
                                   MHD_ConnectionNotificationCode what) {
        auto *self = static_cast<HttpServer *>(server);
        // Those that started are known since they were accepted.
        if (what != MHD_CONNECTION_NOTIFY_CLOSED) return;
        const std::lock_guard guard(self->mutex_);
        self->connections_.erase(socket_of(connection));
        self->changed_.notify_all();
    }

    static MHD_Result handle(void *server, MHD_Connection *connection, const char *url,
                             const char *method, const char * /*version*/, const char *upload,
                             std::size_t *upload_size, void **context) {
        auto *self = static_cast<HttpServer *>(server);
        // The library is C: no exception may pass through it.
        try {
            return answer(self, connection, {url, method}, {upload, *upload_size}, upload_size,
                          context);
        } catch (const std::exception &error) {
            VRN_LOG(VRN_LOG_ERROR, "A request was not answered: %s", error.what());
            return MHD_NO;
        }
    }

    static void request_completed(void * /*server*/, MHD_Connection * /*connection*/,
                                  void **context, MHD_RequestTerminationCode /*code*/) {
        delete static_cast<Request *>(*context);
        *context = nullptr;
    }

    // Queries are decoded by those that know where their commas stand.
    static std::size_t leave_as_it_is(void * /*server*/, MHD_Connection * /*connection*/,
                                      char *text) {
        return std::strlen(text);
    }

    __attribute__((format(printf, 2, 0))) static void log(void * /*server*/, const char *format,
                                                          std::va_list arguments) {
        char text[512];
        std::vsnprintf(text, sizeof text, format, arguments);
        VRN_LOG(VRN_LOG_DEBUG, "HTTP: %s", text);
    }

  private:
    struct RequestLine {
        const char *url;
        const char *method;
    };

    // Called once with the head of a request, then with each piece of its body, then at its end.
    static MHD_Result answer(HttpServer *self, MHD_Connection *connection, RequestLine line,
                             std::string_view upload, std::size_t *upload_size, void **context) {
        auto *request = static_cast<Request *>(*context);
        if (!request) {
            auto made = std::make_unique<Request>();
            made->method = line.method;
            made->path = line.url;
            MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, take_value, &made->query);
            MHD_get_connection_values(connection, MHD_HEADER_KIND, take_field, &made->fields);
            MHD_get_connection_values(connection, MHD_COOKIE_KIND, take_value, &made->cookies);
            *context = made.release();  // to request_completed
            return MHD_YES;
        }
        if (*upload_size > 0) {
            // One byte over the limit is kept, which tells that the body is too long; the rest is
            // dropped.
            const std::size_t room = self->limits_.body_bytes + 1 - request->body.size();
            request->body += upload.substr(0, room);
            *upload_size = 0;
            return MHD_YES;
        }
        // Before the handler, whose time counts as that of the answer.
        begin_answer(self, socket_of(connection));
        Answer answer = request->body.size() > self->limits_.body_bytes
                            ? text_answer(413, "The request is too long.")
                            : self->handler_(*request);
        const unsigned status = answer.status;
        MHD_Response *response = make_response(*request, std::move(answer));
        if (!response) return MHD_NO;
        const MHD_Result queued = MHD_queue_response(connection, status, response);
        // Gives up our share only; the queue has its own.
        MHD_destroy_response(response);
        return queued;
    }

    static void begin_answer(HttpServer *self, int socket) {
        const std::lock_guard guard(self->mutex_);
        const auto connection = self->connections_.find(socket);
        // The watchdog may have dropped it already.
        if (connection == self->connections_.end()) return;
        connection->second = {.deadline = Clock::now() + self->limits_.answer, .is_answered = true};
        self->changed_.notify_all();
    }
};

HttpServer::HttpServer(Descriptor listening, const HttpLimits &limits, Handler handler)
    : limits_(limits),
      handler_(std::move(handler)),
      listening_(std::move(listening)),
      stop_(eventfd(0, EFD_CLOEXEC)) {
    // With a thread for each connection a slow client holds up itself only.
    daemon_ = MHD_start_daemon(
        MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_POLL |
            MHD_USE_NO_LISTEN_SOCKET | MHD_USE_ITC | MHD_USE_ERROR_LOG,
        0, nullptr, nullptr, Glue::handle, this, MHD_OPTION_EXTERNAL_LOGGER, Glue::log, this,
        MHD_OPTION_CONNECTION_TIMEOUT, limits_.stall_seconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT,
        limits_.head_bytes, MHD_OPTION_STRICT_FOR_CLIENT, 1, MHD_OPTION_NOTIFY_CONNECTION,
        Glue::connection_changed, this, MHD_OPTION_NOTIFY_COMPLETED, Glue::request_completed, this,
        MHD_OPTION_UNESCAPE_CALLBACK, Glue::leave_as_it_is, this, MHD_OPTION_END);
    if (!daemon_) throw std::runtime_error("can't serve: no thread could be started");
    watchdog_ = std::thread([this] { watch_deadlines(); });
    acceptor_ = std::thread([this] { accept_connections(); });
}

HttpServer::~HttpServer() {
    eventfd_write(stop_.get(), 1);
    // Answers under way get a little time; nobody waits for idle clients.
    {
        std::unique_lock lock(mutex_);
        is_stopping_ = true;
        changed_.notify_all();
        changed_.wait_for(lock, stop_time, [this] {
            return std::ranges::none_of(connections_,
                                        [](const auto &entry) { return entry.second.is_answered; });
        });
    }
    // The daemon last: until it has ended, the acceptor may still hand over a connection.
    acceptor_.join();
    watchdog_.join();
    MHD_stop_daemon(daemon_);
}

// The library would turn away whoever comes when all places are taken; here they wait.
void HttpServer::accept_connections() {
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(
                lock, [this] { return is_stopping_ || connections_.size() < limits_.connections; });
            if (is_stopping_) return;
        }
        pollfd events[] = {{stop_.get(), POLLIN, 0}, {listening_.get(), POLLIN, 0}};
        if (poll(events, std::size(events), -1) < 0) continue;
        Descriptor socket(
            accept4(listening_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (socket.is_open()) add(std::move(socket));
        // Without descriptors or memory it fails until others have ended.
        else if (errno != EAGAIN && errno != EINTR)
            std::this_thread::sleep_for(accept_pause);
    }
}

void HttpServer::add(Descriptor socket) {
    const int descriptor = socket.get();
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    // Fails when the client has gone already.
    if (getpeername(descriptor, reinterpret_cast<sockaddr *>(&address), &size) != 0) return;
    // Before the library has it, which may tell of its end before it returns.
    {
        const std::lock_guard guard(mutex_);
        connections_[descriptor] = {.deadline = Clock::now() + limits_.request};
        changed_.notify_all();
    }
    // Whatever comes of it, the library closes the socket.
    socket.release();
    if (MHD_add_connection(daemon_, descriptor, reinterpret_cast<sockaddr *>(&address), size) ==
        MHD_YES)
        return;
    const std::lock_guard guard(mutex_);
    connections_.erase(descriptor);
}

// The library's own timeouts begin anew with each byte; a client that sends one now and then would
// stay for ever.
void HttpServer::watch_deadlines() {
    std::unique_lock lock(mutex_);
    while (!is_stopping_) {
        const auto now = Clock::now();
        auto next = now + limits_.request;
        for (auto entry = connections_.begin(); entry != connections_.end();) {
            Connection &connection = entry->second;
            if (connection.deadline > now) {
                next = std::min(next, connection.deadline);
                ++entry;
            } else if (!std::exchange(connection.is_ended, true)) {
                // The library closes it, and tells, when it finds it ended.
                shutdown(entry->first, SHUT_RDWR);
                // If the library hasn't told by then, it never will.
                connection.deadline = next;
                ++entry;
            } else {
                entry = connections_.erase(entry);  // it had no memory to tell
            }
        }
        changed_.wait_until(lock, next);
    }
}

}  // namespace vrn::serve
