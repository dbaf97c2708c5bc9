#include "vrn_serve/serve_options.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace vrn::serve {
namespace {

constexpr std::uint64_t second_us = 1'000'000;
constexpr std::uint64_t least_memory = std::uint64_t{16} << 20;
constexpr std::uint64_t max_samples = 10'000'000;
// Clients that the kernel holds while all our places are taken.
constexpr int backlog = 512;
constexpr int max_port = 65535;

struct Unit {
    char letter;
    std::uint64_t size;
};
constexpr Unit time_units[] = {
    {'s', second_us}, {'m', 60 * second_us}, {'h', 3600 * second_us}, {'d', 86400 * second_us}};
constexpr Unit memory_units[] = {
    {'K', std::uint64_t{1} << 10}, {'M', std::uint64_t{1} << 20}, {'G', std::uint64_t{1} << 30}};
// Of either kind: nothing grows beyond 64 bits.
constexpr std::uint64_t max_count = 1'000'000;

// "10m" by the units. Throws tool::BadValue with `what` the value should be.
template <std::size_t Count>
std::uint64_t united_value(std::string_view text, const Unit (&units)[Count], const char *what) {
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), count);
    if (error == std::errc() && count > 0 && count <= max_count && text.end() - end == 1)
        for (const Unit &unit : units)
            if (*end == unit.letter) return count * unit.size;
    throw tool::BadValue(what);
}

std::uint64_t memory_value(const char *text) {
    constexpr char what[] = "a size from 16M on, as 512M or 2G";
    const std::uint64_t bytes = united_value(text, memory_units, what);
    if (bytes < least_memory) throw tool::BadValue(what);
    return bytes;
}

bool is_loopback(const sockaddr_storage &address) {
    // All of 127.0.0.0/8 is this machine.
    if (address.ss_family == AF_INET)
        return (ntohl(reinterpret_cast<const sockaddr_in &>(address).sin_addr.s_addr) >> 24) == 127;
    // An IPv4 address within IPv6 counts as open to others: better to ask for a token too often.
    return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6 &>(address).sin6_addr);
}

std::string address_text(const sockaddr_storage &address, socklen_t size) {
    char host[NI_MAXHOST];
    char port[NI_MAXSERV];
    getnameinfo(reinterpret_cast<const sockaddr *>(&address), size, host, sizeof host, port,
                sizeof port, NI_NUMERICHOST | NI_NUMERICSERV);
    const bool is_ipv6 = address.ss_family == AF_INET6;
    return (is_ipv6 ? "[" + std::string(host) + "]:" : std::string(host) + ":") + port;
}

[[noreturn]] void fail(const std::string &address) {
    throw std::runtime_error("can't listen to " + address + ": " + std::strerror(errno));
}

}  // namespace

tool::CommandLine make_command_line(ServeOptions *options) {
    std::vector<tool::Option> rows = {
        {"listen", 'l', "ADDRESS:PORT",
         "Where to serve (127.0.0.1:8420). Another address than that of this machine alone needs "
         "--token-file or --open.",
         [options](const char *value) { options->listen = value; }},
        {"token-file", 't', "FILE",
         "File whose first line, of 16 characters or more, clients must know.",
         [options](const char *value) { options->token_file = value; }},
        {"open", 0, nullptr, "Serve everyone who can reach the address.",
         [options](const char *) { options->is_open = true; }},
        {"host-name", 0, "NAME",
         "A name by which clients may call this host, besides localhost and addresses; "
         "repeatable.",
         [options](const char *value) { options->host_names.emplace_back(value); }},
        {"keep", 'k', "TIME",
         "Drop samples that are older than the newest one by more, as 30s, 10m, 1h or 7d.",
         [options](const char *value) {
             options->limits.keep_us = united_value(value, time_units, "a time, as 30s, 10m or 1h");
         }},
        {"samples", 'n', "NUMBER", "Newest samples to keep of each series (3600).",
         [options](const char *value) {
             options->limits.samples = tool::number_value(value, 1, max_samples);
         }},
        {"max-memory", 'm', "SIZE", "Room for all series together, as 512M or 2G (1G).",
         [options](const char *value) { options->limits.max_bytes = memory_value(value); }},
        {"show", 0, "PATTERN",
         "Metrics to show at first, as a shell pattern over their names; repeatable.",
         [options](const char *value) { options->shown_first.emplace_back(value); }},
        {"verbose", 'v', "LEVEL",
         "3: errors only, 4: warnings (the default), 6: what of files was lost, 7: a line for "
         "each request.",
         [options](const char *value) {
             options->log_level =
                 static_cast<std::uint32_t>(tool::number_value(value, 0, VRN_LOG_DEBUG));
         }}};
    const std::vector<tool::Option> more = series::series_option_rows(&options->series);
    // --verbose stays last.
    rows.insert(rows.end() - 1, more.begin(), more.end());
    return {"vrn_serve", "file|folder ...",
            "Serves a page with charts of the numbers in data files, which it follows as they "
            "grow.\n"
            "Of a folder it takes all data files below, also those that come later.\n",
            std::move(rows),
            "Where memory is short the oldest goes first: series that have ended, then samples of\n"
            "all series. Clients show the token as 'Authorization: Bearer TOKEN', browsers by\n"
            "a cookie from /login. The page is /rta/metrics/dump, its data /rta/metrics/dump/csv,\n"
            "the newest values for Prometheus /metrics, and /healthz tells that all is well.\n"};
}

Listening listen_to(const std::string &address) {
    const std::size_t colon = std::min(address.rfind(':'), address.size());
    const std::string port = address.substr(std::min(colon + 1, address.size()));
    std::string host = address.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    // Numbers only: no name server decides where we listen.
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *list = nullptr;
    // Beyond that the resolver takes what is left of the number.
    const bool is_port = port.size() <= 5 && std::atoi(port.c_str()) <= max_port;
    if (host.empty() || port.empty() || !is_port ||
        getaddrinfo(host.c_str(), port.c_str(), &hints, &list) != 0)
        throw tool::UsageError("'" + address + "' is no ADDRESS:PORT");
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> found(list, freeaddrinfo);
    Listening listening;
    listening.socket =
        Descriptor(socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int socket = listening.socket.get();
    // Otherwise a restart may find the port held by connections that have ended.
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (bind(socket, found->ai_addr, found->ai_addrlen) != 0 || listen(socket, backlog) != 0)
        fail(address);
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    if (getsockname(socket, reinterpret_cast<sockaddr *>(&bound), &size) != 0) fail(address);
    listening.address = address_text(bound, size);
    // Judged by what was bound, not by what was asked for.
    listening.is_loopback = is_loopback(bound);
    return listening;
}

}  // namespace vrn::serve
