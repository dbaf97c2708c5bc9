#include "metrics/store/symbol_table.h"

#include <boost/container_hash/hash.hpp>

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(SymbolTable, KeepsANameUntilItsLastUseEnds) {
    data::metrics::SymbolTable table;
    const std::uint64_t key = table.intern("busy");
    EXPECT_EQ(key, boost::hash<std::string>()("busy"));
    table.intern("busy");
    table.release(key + 1);
    table.release(key);
    EXPECT_EQ(table.lookup(key), "busy");
    table.release(key);
    EXPECT_EQ(error_of([&] { table.lookup(key); }),
              "Symbol not found for key: " + std::to_string(key));
    EXPECT_EQ(table.intern("busy"), key);
    EXPECT_EQ(table.lookup(key), "busy");
    table.insert(5, "idle");
    EXPECT_EQ(table.lookup(5), "idle");
    EXPECT_EQ(table.intern("idle"), 5u);
}

}  // namespace
}  // namespace vrn::test
