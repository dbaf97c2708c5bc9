#include "data/data_file_header.h"

#include "data/version.h"
#include "support/test.h"
#include "vrn_version.h"

namespace vrn::test {
namespace {

TEST(DataFileHeader, ChecksMagicVersionAndSizeOnly) {
    const auto refused = [](const std::string &shown) {
        return Lines{"3 Version of data page " + shown + " is incompatible with Varnel version " +
                     vrn_version_string()};
    };
    // clang-format off
    const struct {
        std::uint8_t major, minor; std::uint16_t patch; const char *magic; std::uint64_t file_size;
        Lines log;  // none when the header is valid
    } cases[] = {
        {1, 7, 9, "VRNF", 256, {}},
        {1, 3, 0, "VRNF", ~std::uint64_t{0}, {}},
        {1, 8, 0, "VRNF", 256, refused("1.8.0")},
        {2, 0, 300, "VRNF", 256, refused("2.0.300")},
        {0, 7, 0, "VRNF", 256, refused("0.7.0")},
        {1, 7, 0, "VRND", 256, {"3 Wrong data page magic number."}},
        {1, 7, 0, "VRNF", 255, {"3 Wrong data file size 255 is less then file header size 256"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        const ByteBuilder bytes =
            ByteBuilder().text(c.magic).u8(c.major).u8(c.minor).u16(c.patch).u64(c.file_size);
        vrn_data_file_header_t header{};
        bytes.done().copy(reinterpret_cast<char *>(&header), sizeof header);
        SCOPED_TRACE(testing::PrintToString(c.log));
        CapturedLog log;
        EXPECT_EQ(vrn_data_file_header_validate(&header), c.log.empty());
        EXPECT_EQ(vrn_data_file_header_is_valid(&header), c.log.empty());
        EXPECT_EQ(log.take(), c.log);
    }
}

// The end-to-end cases show whole headers.
TEST(DataFileHeader, PrintsAFullTextAsFarAsItReaches) {
    vrn_data_file_header_t header;
    std::memset(&header, 'x', sizeof header);
    const std::string text =
        captured_stream([&](std::FILE *out) { vrn_data_file_header_print(out, &header); });
    EXPECT_NE(text.find(" source id            = " + std::string(240, 'x') + "\n"), text.npos);
    EXPECT_NE(text.find(" first timestamp      = 8680820740569200760\n"), text.npos);
    EXPECT_NE(text.find(" byte order           = 120 (BE)\n"), text.npos);
}

TEST(DataFileHeader, SchemaIdTextsEndAtTheSeventh) {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    header->event_schema_ids[6].bytes[15] = 0x0F;
    EXPECT_STREQ(CString(vrn_data_file_header_schema_id_hex(header.get(), 6)).get(),
                 "0000000000000000000000000000000f");
    EXPECT_EQ(vrn_data_file_header_schema_id_hex(header.get(), 7), nullptr);
}

TEST(DataFileHeader, PrintsItsLayout) {
    testing::internal::CaptureStdout();
    vrn_data_file_header_print_fields();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Field                       Offset    Size\n"
              " magic                      0         4\n"
              " version                    4         4\n"
              " file_size                  8         8\n"
              " source_id                  16        64\n"
              " source_tag                 80        16\n"
              " first_timestamp            96        8\n"
              " last_timestamp             104       8\n"
              " block_size                 112       4\n"
              " counters_schema_id         116       16\n"
              " event_schema_ids           132       112\n"
              " byte_order                 244       1\n"
              " padding                    245       7\n"
              " magic_end                  252       4\n");
}

}  // namespace
}  // namespace vrn::test
