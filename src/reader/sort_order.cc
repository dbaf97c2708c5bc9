#include "reader/sort_order.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "utils/log.h"

namespace {

struct Keyword {
    vrn_sort_key_t key;
    std::string_view name;
};

constexpr Keyword keywords[] = {
    {VRN_SORT_SOURCE_ID, "source_id"},
    {VRN_SORT_SOURCE_TAG, "source_tag"},
    {VRN_SORT_FIRST_TIMESTAMP, "first_timestamp"},
};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\r\f\v";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// Takes the text before the next comma off `rest`.
std::string_view next_piece(std::string_view *rest) {
    const std::size_t comma = rest->find(',');
    const std::string_view piece = rest->substr(0, comma);
    rest->remove_prefix(comma == std::string_view::npos ? rest->size() : comma + 1);
    return trimmed(piece);
}

}  // namespace

void vrn_sort_order_set_default(vrn_sort_order_t *order) {
    *order = {{VRN_SORT_FIRST_TIMESTAMP, VRN_SORT_SOURCE_ID, VRN_SORT_SOURCE_TAG}, 3};
}

bool vrn_sort_order_parse(const char *text, vrn_sort_order_t *order) {
    if (!text || !order) return false;
    std::string_view rest = text;
    std::size_t count = 0;
    while (!rest.empty() && count < VRN_MAX_SORT_KEYS) {
        const std::string_view piece = next_piece(&rest);
        if (piece.empty()) continue;
        const Keyword *keyword = std::ranges::find(keywords, piece, &Keyword::name);
        if (keyword == std::end(keywords)) {
            VRN_LOG(VRN_LOG_ERROR, "[sort] Unknown sort key: '%.*s'",
                    static_cast<int>(piece.size()), piece.data());
            return false;
        }
        order->keys[count++] = keyword->key;
    }
    order->num_keys = static_cast<std::int32_t>(count);
    return count > 0;
}
