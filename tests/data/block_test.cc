#include "data/block.h"

#include "data/magic.h"
#include "data/time.h"
#include "support/test.h"

namespace vrn::test {
namespace {

constexpr struct {
    std::uint32_t kind;
    const char *magic;
    const char *name;
} kinds[] = {
    {0, "VRND", "VRN_COUNTERS_BLOCK"}, {1, "VRNE", "VRN_EVENTS_BLOCK"},
    {2, "VRNS", "VRN_SCHEMAS_BLOCK"},  {3, "VRNB", "VRN_BLOB_BLOCK"},
    {5, "VRNP", "VRN_PAGE_BLOCK"},     {6, "VRNX", "VRN_CNTX_BLOCK"},
    {4, "####", "Unknown block"},      {7, "####", "Unknown block"},
};

TEST(Block, FourthByteAloneTellsTheKind) {
    for (int letter = 0; letter <= 255; ++letter) {
        SCOPED_TRACE(letter);
        const char block[4] = {'?', '\0', '?', static_cast<char>(letter)};
        std::uint32_t expected = VRN_UNKNOWN_BLOCK;
        for (const auto &kind : kinds)
            if (kind.magic[3] == block[3] && block[3] != '#') expected = kind.kind;
        EXPECT_EQ(vrn_block_type_of(block), expected);
    }
}

TEST(Block, KindsHaveMagicsAndNames) {
    for (const auto &kind : kinds) {
        std::string block = "####";
        vrn_block_set_magic(block.data(), kind.kind);
        EXPECT_EQ(block, kind.magic);
        EXPECT_STREQ(vrn_block_type_name(kind.kind), kind.name);
    }
}

TEST(Magic, EqualityStopsAtANulLikeText) {
    std::string closing = "####";
    vrn_magic_set_end(closing.data(), VRN_MAGIC_FILE);
    EXPECT_EQ(closing, "vrnf");
    EXPECT_TRUE(vrn_magic_matches("VRNF", 'F'));
    EXPECT_FALSE(vrn_magic_matches("VRNf", 'F'));
    EXPECT_FALSE(vrn_magic_matches("vRNF", 'F'));
    EXPECT_TRUE(vrn_magic_equal("VRNF", "VRNF"));
    EXPECT_FALSE(vrn_magic_equal("VRNF", "VRND"));
    EXPECT_FALSE(vrn_magic_equal("VRMF", "VRNF"));
    EXPECT_TRUE(vrn_magic_equal("V\0aF", "V\0bF"));
    EXPECT_FALSE(vrn_magic_equal("V\0aF", "V\0aG"));
}

TEST(Block, InitStampsMagicAndTime) {
    vrn_data_block_t block;
    std::memset(&block, 0xFF, sizeof block);
    constexpr std::uint64_t offset = 1'000'000'000'000'000'000;
    vrn_set_time_offset(offset);
    const std::uint64_t before = vrn_time_now();
    vrn_data_block_init(&block);
    const std::uint64_t after = vrn_time_now();
    vrn_set_time_offset(0);
    EXPECT_EQ(std::string(block.header.magic, 4), "VRND");
    EXPECT_EQ(std::uint32_t{block.padding}, 0u);
    EXPECT_GE(std::uint64_t{block.timestamp}, before);
    EXPECT_LE(std::uint64_t{block.timestamp}, after);
    EXPECT_GT(before, offset + 1'600'000'000'000'000);  // microseconds, past 2020
    EXPECT_LT(vrn_time_now(), offset);

    vrn_blob_block_t blob;
    std::memset(&blob, 0xFF, sizeof blob);
    vrn_blob_block_init(&blob, 5, 6);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(&blob), sizeof blob),
              std::string("VRNB\5\0\0\0\0\0\0\0\6\0\0\0\0\0\0\0", 20));
}

TEST(Block, PrintsItsHeader) {
    const vrn_data_block_t data{{{'V', 'R', '\0', 'D'}}, 0, 18446744073709551615u};
    const vrn_blob_block_t blob{{{'V', 'R', 'N', 'B'}}, 7, 8};
    EXPECT_EQ(captured_stream([&](std::FILE *stream) {
                  vrn_data_block_print(stream, &data);
                  vrn_blob_block_print(stream, &blob);
              }),
              "Data block\n"
              " magic number         =   VR\n"
              " last timestamp       = 18446744073709551615\n"
              "Blob block\n"
              " magic number         = VRNB\n"
              " timestamp            = 7\n"
              " data size            = 8\n");
}

TEST(Block, PrintsItsLayout) {
    testing::internal::CaptureStdout();
    vrn_event_header_print_fields();
    vrn_data_block_print_fields();
    vrn_blob_block_print_fields();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Field                       Offset    Size\n"
              " magic                      0         4\n"
              " timestamp                  4         8\n"
              " schema_index               12        1\n"
              " type_index                 13        2\n"
              " num_events                 15        1\n"
              "Field                       Offset    Size\n"
              " header.magic               0         4\n"
              " padding                    4         4\n"
              " timestamp                  8         8\n"
              " values[]                   16      \n"
              "Field                       Offset    Size\n"
              " header.magic               0         4\n"
              " timestamp                  4         8\n"
              " data_size                  12        8\n");
}

}  // namespace
}  // namespace vrn::test
