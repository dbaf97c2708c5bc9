// Requests as handlers see them, and their answers.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vrn::serve {

// Names of header fields and cookies that count are in lower case here. What came more than once
// counts as it came last.
struct Request {
    std::string method;
    std::string path;                           // without the query; not decoded
    std::map<std::string, std::string> query;   // not decoded
    std::map<std::string, std::string> fields;  // of the header
    std::map<std::string, std::string> cookies;
    std::string body;

    // Null when there is none.
    const std::string *field(const char *name) const;
};

struct Answer {
    // Replaces `piece` by the next bytes, at least one; false at the end.
    using NextPiece = std::function<bool(std::string *piece)>;

    unsigned status = 200;
    std::vector<std::pair<std::string, std::string>> fields;
    std::shared_ptr<const std::string> body;
    NextPiece next_piece;  // instead of a body
};

// A short text, ended with a newline.
Answer text_answer(unsigned status, const std::string &text);

// `text` with its %XX decoded; none when they are not two hexadecimal digits each.
std::optional<std::string> percent_decoded(std::string_view text);

}  // namespace vrn::serve
