#include "vrn_collect/source_names.h"

#include <filesystem>
#include <stdexcept>

#include "utils/source_list.h"

namespace vrn::collect {
namespace {

bool is_source_spec(const std::string &text) {
    std::error_code ignored;
    if (std::filesystem::is_regular_file(text, ignored)) return true;
    const bool is_prefixed = text.find('[') != std::string::npos && text.ends_with(']');
    return is_prefixed || text.find_first_not_of("0123456789-") == std::string::npos;
}

}  // namespace

std::set<std::string> make_source_names(const std::optional<std::string> &text) {
    if (text && !is_source_spec(*text)) return {text->substr(0, VRN_SOURCE_NAME_SIZE - 1)};
    const vrn_source_list_ptr list(text ? vrn_source_list_from_spec(text->c_str())
                                        : vrn_source_list_create_default(""));
    if (!list || list->count == 0) throw std::runtime_error("there is no source");
    std::set<std::string> names;
    for (std::uint16_t i = 0; i < list->count; ++i) names.emplace(list->items[i]->source);
    return names;
}

}  // namespace vrn::collect
