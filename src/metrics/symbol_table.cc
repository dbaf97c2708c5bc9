#include "metrics/symbol_table.h"

#include <boost/container_hash/hash.hpp>

namespace vrn::data::metrics {

SymbolTable::SymbolNotFoundError::SymbolNotFoundError(std::uint64_t key)
    : std::runtime_error("Symbol not found for key: " + std::to_string(key)) {}

std::uint64_t SymbolTable::intern(const std::string &name) {
    if (const auto known = keys_.find(name); known != keys_.end()) {
        ++use_counts_[known->second];
        return known->second;
    }
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

void SymbolTable::release(std::uint64_t key) {
    const auto uses = use_counts_.find(key);
    if (uses == use_counts_.end() || --uses->second > 0) return;
    const auto name = names_.find(key);
    keys_.erase(name->second);
    names_.erase(name);
    use_counts_.erase(uses);
}

}  // namespace vrn::data::metrics
