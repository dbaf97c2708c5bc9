// Who may ask for what.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vrn_serve/http_message.h"

namespace vrn::serve {

struct AccessRules {
    std::string token;                    // empty: none is needed
    std::vector<std::string> host_names;  // by which clients may name us, besides addresses
};

class Access {
  public:
    explicit Access(AccessRules rules);

    // The answer to a request that comes by a name of somebody else's or from a page of somebody
    // else's. A browser that was led here by such a name would hand our data to its page.
    std::optional<Answer> refuse_stranger(const Request &request) const;

    // The answer to a request that shows no token; `login_path` is relative to its path.
    std::optional<Answer> refuse_without_token(const Request &request,
                                               const std::string &login_path) const;

    // The answer to a request that doesn't prove that a page of ours sent it.
    std::optional<Answer> refuse_without_origin(const Request &request) const;

    // The form that asks for the token, and what comes of it: a cookie for the one who has it.
    Answer login_form() const;
    Answer login(const Request &request) const;

  private:
    bool has_token(const Request &request) const;

    const AccessRules rules_;
    const std::string session_;  // what the cookie holds
};

// The token in a file: its first line. Throws std::runtime_error when it can't be read, or when it
// is too short to keep anyone out.
std::string read_token(const std::string &path);

}  // namespace vrn::serve
