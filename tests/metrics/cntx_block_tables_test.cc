#include "metrics/cntx_block_tables.h"

#include <boost/container_hash/hash.hpp>

#include "support/stream_blocks.h"
#include "support/test.h"

namespace vrn::test {
namespace {

using namespace metrics;

TEST(CntxBlockTables, HashesLabelSetsByTheirNames) {
    const auto tables = CntxBlockTables::parse(ExactBytes(sample_stream().build()));
    std::size_t hash = 0;
    for (const char *name : {"cpu", "mode"})
        boost::hash_combine(hash, boost::hash<std::string>()(name));
    EXPECT_EQ(tables.label_set_hashes, (std::map<std::uint64_t, std::uint64_t>{{0, hash}, {1, 0}}));
    EXPECT_EQ(tables.names_of(2), Lines{});
}

}  // namespace
}  // namespace vrn::test
