#include "vrn_serve/http_message.h"

#include <charconv>

namespace vrn::serve {

const std::string *Request::field(const char *name) const {
    const auto found = fields.find(name);
    return found == fields.end() ? nullptr : &found->second;
}

Answer text_answer(unsigned status, const std::string &text) {
    return {.status = status,
            .fields = {{"Content-Type", "text/plain; charset=utf-8"}},
            .body = std::make_shared<const std::string>(text + "\n"),
            .next_piece = {}};
}

std::optional<std::string> percent_decoded(std::string_view text) {
    std::string decoded;
    while (!text.empty()) {
        if (text[0] != '%') {
            decoded += text[0];
            text.remove_prefix(1);
            continue;
        }
        unsigned value = 0;
        const std::string_view digits = text.substr(1, 2);
        const auto [end, error] = std::from_chars(digits.begin(), digits.end(), value, 16);
        // One digit would be a number as well.
        if (digits.size() != 2 || error != std::errc() || end != digits.end()) return std::nullopt;
        decoded += static_cast<char>(value);
        text.remove_prefix(3);
    }
    return decoded;
}

}  // namespace vrn::serve
