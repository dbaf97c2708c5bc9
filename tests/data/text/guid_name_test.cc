#include "data/text/guid_name.h"

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(GuidName, TellsWordsFromSubstrings) {
    const struct {
        const char *name;
        bool is_word;
        bool contains;
    } cases[] = {
        {"node_guid", true, true},   {"NODE_GUID", true, true},     {"Guid", true, false},
        {"gUiD2", true, false},      {"guids", false, true},        {"myguid", false, true},
        {"guid1", true, true},       {"guidance_guid", true, true}, {"guidguid", false, true},
        {"xguid.guid-", true, true}, {"gui", false, false},         {"GUI\x04", false, false},
        {"", false, false},          {nullptr, false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name ? c.name : "null");
        EXPECT_EQ(vrn_name_is_guid_word(c.name), c.is_word);
        EXPECT_EQ(vrn_name_contains_guid(c.name), c.contains);
    }
}

}  // namespace
}  // namespace vrn::test
