#include "metrics/store/symbol_table.h"

#include <boost/container_hash/hash.hpp>

namespace vrn::data::metrics {
namespace {

// `text_of` tells which side of an entry is the text.
template <typename Map, typename TextOf>
std::size_t footprint_of(const Map &map, TextOf text_of) {
    std::size_t bytes = 24 * map.size() + 8 * map.bucket_count();
    for (const auto &entry : map) bytes += text_of(entry).capacity();
    return bytes;
}

}  // namespace

SymbolTable::SymbolNotFoundError::SymbolNotFoundError(std::uint64_t key)
    : std::runtime_error("Symbol not found for key: " + std::to_string(key)) {}

std::uint64_t SymbolTable::intern(const std::string &name) {
    if (const auto known = keys_.find(name); known != keys_.end()) {
        ++use_counts_[known->second];
        return known->second;
    }
    // Deliberate: two names that hash alike share an id, and the later one its text.
    const std::uint64_t key = boost::hash<std::string>()(name);
    insert(key, name);
    return key;
}

void SymbolTable::insert(std::uint64_t key, const std::string &name) {
    names_[key] = name;
    keys_[name] = key;
    use_counts_[key] = 1;
}

const std::string &SymbolTable::lookup(std::uint64_t key) const {
    const auto found = names_.find(key);
    if (found == names_.end()) throw SymbolNotFoundError(key);
    return found->second;
}

std::optional<std::uint64_t> SymbolTable::find(const std::string &name) const {
    const auto found = keys_.find(name);
    if (found == keys_.end()) return std::nullopt;
    return found->second;
}

void SymbolTable::add_uses(std::uint64_t key, std::uint64_t count) {
    const auto uses = use_counts_.find(key);
    if (uses != use_counts_.end()) uses->second += count;
}

void SymbolTable::release(std::uint64_t key) {
    const auto uses = use_counts_.find(key);
    if (uses == use_counts_.end() || --uses->second > 0) return;
    use_counts_.erase(uses);
    // The second of two names that hash alike may have taken the text away.
    const auto name = names_.find(key);
    if (name == names_.end()) return;
    keys_.erase(name->second);
    names_.erase(name);
}

std::size_t SymbolTable::footprint() const {
    return footprint_of(
               names_, [](const auto &entry) -> auto & { return entry.second; }) +
           footprint_of(
               keys_, [](const auto &entry) -> auto & { return entry.first; }) +
           32 * use_counts_.size() + 8 * use_counts_.bucket_count();
}

}  // namespace vrn::data::metrics
