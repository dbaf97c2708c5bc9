#include "vrn_serve/access.h"

#include <arpa/inet.h>
#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <openssl/sha.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace vrn::serve {
namespace {

constexpr char cookie_name[] = "vrn_session";
constexpr std::size_t session_bytes = 32;
// Shorter ones could be found by trying.
constexpr std::size_t least_token_size = 16;

using Digest = std::array<unsigned char, SHA256_DIGEST_LENGTH>;

Digest digest_of(std::string_view text) {
    Digest digest;
    SHA256(reinterpret_cast<const unsigned char *>(text.data()), text.size(), digest.data());
    return digest;
}

// In a time that tells nothing of where they differ, nor of their lengths.
bool are_equal(std::string_view a, std::string_view b) {
    return CRYPTO_memcmp(digest_of(a).data(), digest_of(b).data(), sizeof(Digest)) == 0;
}

std::string random_text() {
    std::array<unsigned char, session_bytes> bytes;
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw std::runtime_error("there are no random numbers");
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

// The host of "host:port" or "[address]:port".
std::string_view without_port(std::string_view host) {
    // In brackets, as an IPv6 address has colons of its own.
    if (host.starts_with('[')) return host.substr(1, host.find(']') - 1);
    return host.substr(0, host.rfind(':'));
}

// Only a name can be pointed at us by somebody else after his page was loaded; an address can't.
bool is_address(const std::string &host) {
    unsigned char address[sizeof(in6_addr)];
    return inet_pton(AF_INET, host.c_str(), address) == 1 ||
           inet_pton(AF_INET6, host.c_str(), address) == 1;
}

bool is_own_origin(std::string_view origin, std::string_view host) {
    for (const std::string_view scheme : {"http://", "https://"})
        if (origin.starts_with(scheme)) return origin.substr(scheme.size()) == host;
    return false;
}

// The origin of a whole address, as "https://host:port".
std::string_view origin_of(std::string_view address) {
    const std::size_t host = address.find("://");
    return host == std::string_view::npos ? address
                                          : address.substr(0, address.find('/', host + 3));
}

bool wants_page(const Request &request) {
    const std::string *accepted = request.field("accept");
    return accepted && accepted->find("text/html") != std::string::npos;
}

// The value of "token" in the body of a form.
std::string token_of_form(std::string_view body) {
    constexpr std::string_view name = "token=";
    // The form has this one field, so it stands first.
    if (!body.starts_with(name)) return {};
    std::string value(body.substr(name.size(), body.find('&') - name.size()));
    // Forms write blanks so. Before the percent signs, so that an encoded plus stays one.
    std::ranges::replace(value, '+', ' ');
    return percent_decoded(value).value_or("");
}

constexpr char form_begin[] =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"UTF-8\">\n"
    "<title>Metrics: token</title>\n<link rel=\"icon\" href=\"data:,\">\n</head>\n<body>\n";
constexpr char form_end[] =
    "<form method=\"post\">\n"
    "<label for=\"token\">Token</label>\n"
    "<input id=\"token\" name=\"token\" type=\"password\" autocomplete=\"current-password\" "
    "required autofocus>\n"
    "<button type=\"submit\">Show the metrics</button>\n"
    "</form>\n</body>\n</html>\n";

// No script, no frame, no target but us: nobody gets the token out of this page.
Answer form_answer(unsigned status, const std::string &words) {
    return {.status = status,
            .fields = {{"Content-Type", "text/html; charset=utf-8"},
                       {"Content-Security-Policy",
                        "default-src 'none'; img-src data:; form-action 'self'; base-uri 'none'; "
                        "frame-ancestors 'none'"}},
            .body = std::make_shared<const std::string>(form_begin + words + form_end),
            .next_piece = {}};
}

}  // namespace

// Made for each run: a cookie of an earlier one is worth nothing.
Access::Access(AccessRules rules) : rules_(std::move(rules)), session_(random_text()) {}

std::optional<Answer> Access::refuse_stranger(const Request &request) const {
    const std::string *host = request.field("host");
    if (!host) return text_answer(400, "The request names no host.");
    const std::string name(without_port(*host));
    const auto is_name = [&](const std::string &ours) {
        return strcasecmp(ours.c_str(), name.c_str()) == 0;
    };
    if (!is_address(name) && !is_name("localhost") &&
        std::ranges::none_of(rules_.host_names, is_name))
        return text_answer(421, "This host isn't known here by that name (see --host-name).");
    const std::string *origin = request.field("origin");
    if (origin && !is_own_origin(*origin, *host))
        return text_answer(403, "Pages of others may not ask.");
    return std::nullopt;
}

std::optional<Answer> Access::refuse_without_token(const Request &request,
                                                   const std::string &login_path) const {
    if (rules_.token.empty() || has_token(request)) return std::nullopt;
    Answer answer = text_answer(401, "A token is needed: log in, or send it as 'Bearer TOKEN'.");
    answer.fields.emplace_back("WWW-Authenticate", "Bearer");
    // Programs get the plain refusal: only a browser can use a form.
    if (!wants_page(request)) return answer;
    answer.status = 303;
    answer.fields.emplace_back("Location", login_path);
    return answer;
}

std::optional<Answer> Access::refuse_without_origin(const Request &request) const {
    const std::string *host = request.field("host");
    const std::string *site = request.field("sec-fetch-site");
    const std::string *origin = request.field("origin");
    const std::string *referer = request.field("referer");
    // Browsers leave the first out where there is no TLS, but on the machine itself.
    const bool is_ours = site      ? *site == "same-origin"
                         : origin  ? is_own_origin(*origin, *host)
                         : referer ? is_own_origin(origin_of(*referer), *host)
                                   : false;
    if (is_ours) return std::nullopt;
    return text_answer(403, "Only the page itself may ask for this.");
}

Answer Access::login_form() const {
    return form_answer(200, "");
}

Answer Access::login(const Request &request) const {
    if (std::optional<Answer> refusal = refuse_without_origin(request)) return *refusal;
    if (!rules_.token.empty() && !are_equal(token_of_form(request.body), rules_.token))
        return form_answer(403, "<p role=\"alert\">That is not the token.</p>\n");
    const std::string *origin = request.field("origin");
    // With a TLS proxy before us only the origin tells of it. Over plain HTTP a browser would
    // refuse the cookie if it were marked so.
    const bool is_secure = origin && origin->starts_with("https://");
    Answer answer = text_answer(303, "Welcome.");
    answer.fields.emplace_back("Set-Cookie", std::string(cookie_name) + "=" + session_ +
                                                 "; Path=/; HttpOnly; SameSite=Strict" +
                                                 (is_secure ? "; Secure" : ""));
    // Relative: a proxy may have put a prefix before our paths.
    answer.fields.emplace_back("Location", "rta/metrics/dump");
    return answer;
}

bool Access::has_token(const Request &request) const {
    constexpr std::string_view scheme = "Bearer ";
    const std::string *authorization = request.field("authorization");
    if (authorization && authorization->starts_with(scheme))
        return are_equal(std::string_view(*authorization).substr(scheme.size()), rules_.token);
    const auto cookie = request.cookies.find(cookie_name);
    return cookie != request.cookies.end() && are_equal(cookie->second, session_);
}

std::string read_token(const std::string &path) {
    std::ifstream file(path);
    std::string token;
    if (!file || !std::getline(file, token))
        throw std::runtime_error("can't read a token from " + path + ": " + std::strerror(errno));
    // Editors leave these at the end of a line, and no client would send them.
    while (!token.empty() && (token.back() == '\r' || token.back() == ' ')) token.pop_back();
    if (token.size() < least_token_size)
        throw std::runtime_error("the token in " + path + " is shorter than " +
                                 std::to_string(least_token_size) + " characters");
    return token;
}

}  // namespace vrn::serve
