#include "data/schema_id.h"

#include "data/text/json_value.h"
#include "support/test.h"

namespace vrn::test {
namespace {

std::string hex_of(const vrn_schema_id_t &id) {
    return CString(vrn_schema_id_to_hex(&id)).get();
}

TEST(SchemaId, TextFormIsThirtyTwoDigits) {
    const std::string digits = "00112233445566778899aabbccddeeff";
    vrn_schema_id_t id{};
    for (const std::string &text :
         {digits + "0", digits.substr(1), "g" + digits.substr(1), std::string()})
        EXPECT_FALSE(vrn_schema_id_from_hex(text.c_str(), &id)) << text;
    for (const std::string &text : {digits, std::string("00112233445566778899AABBCCDDEEFF")}) {
        EXPECT_TRUE(vrn_schema_id_from_hex(text.c_str(), &id));
        EXPECT_EQ(hex_of(id), digits);
    }
}

TEST(SchemaId, ZeroMeansNoneAndBlobIsReserved) {
    vrn_schema_id_t id{};
    EXPECT_TRUE(vrn_schema_id_is_zero(&id));
    id.bytes[15] = 1;
    EXPECT_FALSE(vrn_schema_id_is_zero(&id));
    EXPECT_FALSE(vrn_schema_id_is_blob(&id));
    vrn_schema_id_set_blob(&id);
    EXPECT_TRUE(vrn_schema_id_is_blob(&id));
    EXPECT_EQ(hex_of(id), "424c4f425f444154415f534348454d41");  // "BLOB_DATA_SCHEMA"
}

TEST(SchemaId, DigestsTextAndPrettyJson) {
    vrn_schema_id_t digest{};
    EXPECT_TRUE(vrn_md5_of_string("abc", &digest));
    EXPECT_EQ(hex_of(digest), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_FALSE(vrn_md5_of_string(nullptr, &digest));

    const vrn_json_value_ptr value(json_parse_string("{\"a\":[1]}"));
    vrn_schema_id_t of_pretty{};
    ASSERT_TRUE(vrn_md5_of_string("{\n    \"a\": [\n        1\n    ]\n}", &of_pretty));
    EXPECT_TRUE(vrn_md5_of_json(&digest, value.get()));
    EXPECT_EQ(hex_of(digest), hex_of(of_pretty));
}

}  // namespace
}  // namespace vrn::test
