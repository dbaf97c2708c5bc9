#include "vrn_collect/source_names.h"

#include <filesystem>
#include <stdexcept>

#include "common/tool_main.h"
#include "utils/source_list.h"

namespace vrn::collect {
namespace {

using tool::UsageError;

// A pipe counts: shells make one of "<(...)".
bool is_file(const std::string &text) {
    std::error_code ignored;
    const auto status = std::filesystem::status(text, ignored);
    return std::filesystem::is_regular_file(status) || std::filesystem::is_fifo(status);
}

bool is_range(const std::string &text) {
    const bool is_prefixed = text.find('[') != std::string::npos && text.ends_with(']');
    return is_prefixed || text.find_first_not_of("0123456789-") == std::string::npos;
}

std::set<std::string> one_name(const std::string &name) {
    // Cutting it could make one source of two.
    if (name.size() >= VRN_SOURCE_NAME_SIZE)
        throw UsageError("'" + name + "' is too long for the name of a source");
    return {name};
}

std::set<std::string> names_of(const vrn_source_list_t *list) {
    // A set, because a name that comes twice would store all its data twice.
    std::set<std::string> names;
    for (std::uint16_t i = 0; list && i < list->count; ++i) names.emplace(list->items[i]->source);
    return names;
}

std::set<std::string> names_by_file(const std::string &path) {
    const vrn_source_list_ptr list(vrn_source_list_from_spec(path.c_str()));
    if (!list || list->count == 0) throw std::runtime_error(path + " names no source");
    return names_of(list.get());
}

std::set<std::string> names_by_range(const std::string &text) {
    const tool::QuietLog quiet;
    const vrn_source_list_ptr list(vrn_source_list_from_range(text.c_str()));
    if (!list)
        throw UsageError("'" + text + "' is no range of up to " +
                         std::to_string(VRN_SOURCE_LIST_MAX) + " sources");
    return names_of(list.get());
}

std::set<std::string> this_host() {
    const vrn_source_list_ptr list(vrn_source_list_create_default(""));
    if (!list) throw std::runtime_error("there is no source");
    return names_of(list.get());
}

}  // namespace

std::set<std::string> make_source_names(const CollectOptions &options) {
    const std::string &text = options.sources;
    if (!text.empty() && !options.source_name.empty())
        throw UsageError("--source and --source-name exclude each other");
    if (!options.source_name.empty()) return one_name(options.source_name);
    if (text.empty()) return this_host();
    // A file wins over a range of the same spelling, as it does in the library.
    if (is_file(text)) return names_by_file(text);
    if (is_range(text)) return names_by_range(text);
    // Most likely the name of a file with a slip; data would get a source that nobody looks for.
    if (text.find_first_of("./") != std::string::npos)
        throw UsageError("there is no file '" + text + "'; --source-name takes any name");
    return one_name(text);
}

}  // namespace vrn::collect
