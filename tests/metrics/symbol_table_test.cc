#include "metrics/symbol_table.h"

#include <gtest/gtest.h>

#include <boost/container_hash/hash.hpp>

namespace vrn::test {
namespace {

using data::metrics::SymbolTable;

std::string lookup(const SymbolTable &table, std::uint64_t key) {
    try {
        return table.lookup(key);
    } catch (const SymbolTable::SymbolNotFoundError &error) {
        return error.what();
    }
}

TEST(SymbolTable, FindsNamesByTheirHash) {
    SymbolTable table;
    const std::uint64_t key = table.intern("busy");
    EXPECT_EQ(key, boost::hash<std::string>()("busy"));
    EXPECT_EQ(lookup(table, key), "busy");
    table.insert(5, "idle");
    EXPECT_EQ(lookup(table, 5), "idle");
    EXPECT_EQ(table.intern("idle"), 5u);
    EXPECT_EQ(lookup(table, 6), "Symbol not found for key: 6");
}

TEST(SymbolTable, KeepsANameUntilItsLastUseEnds) {
    SymbolTable table;
    const std::uint64_t key = table.intern("busy");
    table.intern("busy");
    table.release(key + 1);
    table.release(key);
    EXPECT_EQ(lookup(table, key), "busy");
    table.release(key);
    EXPECT_EQ(lookup(table, key), "Symbol not found for key: " + std::to_string(key));
    EXPECT_EQ(table.intern("busy"), key);
    EXPECT_EQ(lookup(table, key), "busy");
}

}  // namespace
}  // namespace vrn::test
