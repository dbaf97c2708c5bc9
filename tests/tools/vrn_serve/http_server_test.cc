#include "vrn_serve/http_server.h"
#include "utils/log.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <zlib.h>

#include <atomic>
#include <random>
#include <thread>

#include "support/test.h"
#include "utils/log.h"
#include "vrn_serve/serve_options.h"

namespace vrn::serve {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t piece_size = 4096;
// More than a connection holds on its way.
constexpr int long_pieces = 2000;

class Client {
  public:
    explicit Client(const std::string &address) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        to.sin_port =
            htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
        EXPECT_EQ(connect(socket_.get(), reinterpret_cast<sockaddr *>(&to), sizeof to), 0);
    }

    // False when the other side has closed.
    bool write(std::string_view text) const {
        return send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }

    // All that comes until the other side closes.
    std::string read() const {
        std::string text;
        char buffer[65536];
        for (ssize_t size = 0; (size = recv(socket_.get(), buffer, sizeof buffer, 0)) > 0;)
            text.append(buffer, static_cast<std::size_t>(size));
        return text;
    }

    std::string ask(std::string_view text) const {
        write(text);
        return read();
    }

  private:
    Descriptor socket_;
};

struct Served {
    explicit Served(const HttpLimits &limits = {}) {
        vrn_log_init_from_env();  // as every program with threads: the log starts before them
        Listening listening = listen_to("127.0.0.1:0");
        address = listening.address;
        server = std::make_unique<HttpServer>(std::move(listening.socket), limits,
                                              [this](const Request &request) {
                                                  ++requests;
                                                  return answer(request);
                                              });
    }

    static Answer answer(const Request &request) {
        if (request.path == "/long") {
            const auto left = std::make_shared<int>(long_pieces);
            return {
                .status = 200, .fields = {}, .body = {}, .next_piece = [left](std::string *piece) {
                    *piece = std::string(piece_size, 'x');
                    return (*left)-- > 0;
                }};
        }
        if (request.path == "/fails") throw std::bad_alloc();
        return text_answer(200, request.method + " " + request.path + " " + request.body);
    }

    std::string ask(std::string_view text) const { return Client(address).ask(text); }

    std::string address;
    std::atomic<int> requests = 0;
    std::unique_ptr<HttpServer> server;
};

std::string body_of(const std::string &answer) {
    return answer.substr(answer.find("\r\n\r\n") + 4);
}

std::string unpacked(const std::string &packed) {
    std::string text(1 << 16, '\0');
    z_stream stream{};
    inflateInit2(&stream, 15 + 16);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef *>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    const int result = inflate(&stream, Z_FINISH);
    text.resize(text.size() - stream.avail_out);
    inflateEnd(&stream);
    return result == Z_STREAM_END ? text : "no gzip stream";
}

TEST(HttpServer, AnswersRequests) {
    const Served served;
    EXPECT_EQ(body_of(served.ask("GET /a%20b?c=d HTTP/1.1\r\nHost: x\r\n\r\n")), "GET /a%20b \n");
    EXPECT_EQ(body_of(served.ask("HEAD / HTTP/1.1\r\nHost: x\r\n\r\n")), "");
    EXPECT_EQ(body_of(served.ask("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 3\r\n\r\nabc")),
              "POST / abc\n");
    // Of HTTP/1.0, where the end of an answer is that of the connection.
    EXPECT_EQ(body_of(served.ask("GET /long HTTP/1.0\r\n\r\n")),
              std::string(piece_size * long_pieces, 'x'));
    const std::string packed = served.ask("GET /p HTTP/1.0\r\nAccept-Encoding: br, gzip\r\n\r\n");
    EXPECT_NE(packed.find("Content-Encoding: gzip\r\n"), std::string::npos);
    EXPECT_EQ(unpacked(body_of(packed)), "GET /p \n");
    const std::string plain =
        served.ask("GET /p HTTP/1.1\r\nHost: x\r\nAccept-Encoding: gzip;q=0\r\n\r\n");
    EXPECT_EQ(body_of(plain), "GET /p \n");
}

TEST(HttpServer, BoundsRequests) {
    const Served served({.head_bytes = 8 << 10, .body_bytes = 1000});
    const auto status = [&](const std::string &text) { return served.ask(text).substr(9, 3); };
    const std::string end = " HTTP/1.1\r\nHost: x\r\n\r\n";
    EXPECT_EQ(status("GET /" + std::string(9000, 'x') + end), "414");
    EXPECT_EQ(status("GET / HTTP/1.1\r\nHost: x\r\nA: " + std::string(9000, 'x') + "\r\n\r\n"),
              "431");
    std::string fields;
    for (int i = 0; i < 2000; ++i) fields += "A: b\r\n";
    EXPECT_EQ(status("GET / HTTP/1.1\r\nHost: x\r\n" + fields + "\r\n"), "431");
    EXPECT_EQ(served.requests, 0);
    EXPECT_EQ(status("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 2000\r\n\r\n" +
                     std::string(2000, 'x')),
              "413");
    served.ask("GET /fails" + end);
    EXPECT_EQ(status("GET /" + end), "200");
}

TEST(HttpServer, EndsRequestsThatAreSentSlowly) {
    const Served served({.connections = 4, .request = 200ms, .stall_seconds = 100});
    std::vector<std::thread> slow;
    std::atomic<int> ended = 0;
    for (int i = 0; i < 8; ++i)
        slow.emplace_back([&] {
            const Client client(served.address);
            // A byte now and then, for ever.
            for (int sent = 0; client.write(sent++ < 5 ? "GET /"[sent - 1] + std::string() : "x");)
                std::this_thread::sleep_for(20ms);
            ++ended;
        });
    // Others get their turn, whoever is there.
    EXPECT_EQ(body_of(served.ask("GET /me HTTP/1.1\r\nHost: x\r\n\r\n")), "GET /me \n");
    for (std::thread &thread : slow) thread.join();
    EXPECT_EQ(ended, 8);
}

TEST(HttpServer, EndsAnswersThatNobodyTakes) {
    const Served served({.connections = 1, .answer = 200ms, .stall_seconds = 100});
    const Client idle(served.address);
    idle.write("GET /long HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(body_of(served.ask("GET /me HTTP/1.1\r\nHost: x\r\n\r\n")), "GET /me \n");
}

TEST(HttpServer, StopsAmidConnections) {
    Served served;
    const Client idle(served.address);
    const Client slow(served.address);
    slow.write("GET /long HTTP/1.1\r\nHost: x\r\n\r\n");
    while (served.requests == 0) std::this_thread::sleep_for(1ms);
    served.server.reset();
    EXPECT_EQ(idle.read(), "");
}

TEST(HttpServer, ServesMoreClientsThanItHasPlacesFor) {
    const Served served({.connections = 8});
    std::vector<std::thread> clients;
    std::atomic<int> served_clients = 0;
    for (int i = 0; i < 100; ++i)
        clients.emplace_back([&] {
            const std::string answer = served.ask("GET /long HTTP/1.0\r\n\r\n");
            served_clients += body_of(answer).size() == piece_size * long_pieces ? 1 : 0;
        });
    for (std::thread &client : clients) client.join();
    EXPECT_EQ(served_clients, 100);
}

TEST(HttpServer, SurvivesGarbage) {
    const Served served;
    std::minstd_rand random(7);
    const char *const parts[] = {"GET ",
                                 "POST ",
                                 "/",
                                 " HTTP/1.1",
                                 "\r\n",
                                 "\n",
                                 "Host: x",
                                 "\r\n\r\n",
                                 "Content-Length: ",
                                 "-1",
                                 "99999999999999999999",
                                 ":",
                                 " ",
                                 "%",
                                 "Transfer-Encoding: chunked",
                                 "Cookie: a=b; ;=\"",
                                 "?a=b&&=%zz",
                                 "\xff\xfe",
                                 "Expect: 100-continue",
                                 "fffffffffffffffff\r\n"};
    for (int i = 0; i < 10'000; ++i) {
        std::string text = i % 2 == 0 ? "GET / HTTP/1.1\r\nHost: x\r\n" : "";
        for (int count = static_cast<int>(random() % 12); count >= 0; --count)
            text += random() % 4 == 0 ? std::string(1 + random() % 20, static_cast<char>(random()))
                                      : parts[random() % std::size(parts)];
        // Nobody waits for the answer: that may take until the request is whole.
        Client(served.address).write(text);
    }
    EXPECT_EQ(body_of(served.ask("GET /me HTTP/1.1\r\nHost: x\r\n\r\n")), "GET /me \n");
}

TEST(ListenTo, TellsWhoCanReachIt) {
    const struct {
        const char *address;
        bool is_loopback;
    } cases[] = {
        {"127.0.0.1:0", true}, {"127.9.9.9:0", true}, {"0.0.0.0:0", false}, {"[::1]:0", true}};
    for (const auto &[address, is_loopback] : cases)
        EXPECT_EQ(listen_to(address).is_loopback, is_loopback) << address;
    for (const char *address : {"", "8420", ":8420", "localhost:1", "127.0.0.1:x",
                                "127.0.0.1:99999", "1.2.3.4.5:1", "[::1:1"})
        EXPECT_THROW(listen_to(address), tool::UsageError) << address;
    const Listening first = listen_to("127.0.0.1:0");
    EXPECT_EQ(vrn::test::error_of([&] { listen_to(first.address); }),
              "can't listen to " + first.address + ": Address already in use");
}

}  // namespace
}  // namespace vrn::serve
