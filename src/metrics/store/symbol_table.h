// Names by id, each stored once and counted by use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace vrn::data::metrics {

// The id of a name is its boost::hash. Two names that hash alike are not told apart.
class SymbolTable {
  public:
    class SymbolNotFoundError : public std::runtime_error {
      public:
        explicit SymbolNotFoundError(std::uint64_t key);
    };

    // Id of `name`; each call adds one use.
    std::uint64_t intern(const std::string &name);

    // Enters `name` under `key` with one use.
    void insert(std::uint64_t key, const std::string &name);

    // Throws SymbolNotFoundError when the table doesn't hold `key`.
    const std::string &lookup(std::uint64_t key) const;

    // Id of a name that the table holds; adds no use.
    std::optional<std::uint64_t> find(const std::string &name) const;

    // Adds uses to a name that the table holds. Unknown keys are ignored.
    void add_uses(std::uint64_t key, std::uint64_t count);

    // Ends one use; a name without uses leaves the table. Unknown keys are ignored.
    void release(std::uint64_t key);

    // Estimate in bytes, from counts.
    std::size_t footprint() const;

  private:
    std::unordered_map<std::uint64_t, std::string> names_;
    std::unordered_map<std::string, std::uint64_t> keys_;
    std::unordered_map<std::uint64_t, std::uint64_t> use_counts_;
};

}  // namespace vrn::data::metrics
