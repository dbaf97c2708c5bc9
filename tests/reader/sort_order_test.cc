#include "reader/sort_order.h"

#include "support/test.h"

namespace vrn::test {
namespace {

TEST(SortOrder, TakesKeywordsInTheirOrderAndRefusesOthers) {
    using Keys = std::vector<int>;
    const auto unknown = [](const std::string &key) {
        return Lines{"3 [sort] Unknown sort key: '" + key + "'"};
    };
    // clang-format off
    const struct { const char *text; bool expected; Keys keys; Lines log; } cases[] = {
        {"source_tag,first_timestamp", true, {1, 2}, {}},
        {"source_id, ,first_timestamp,", true, {0, 2}, {}},
        {" \t\n\r\f\vsource_tag\v\f\r\n\t ", true, {1}, {}},
        {",,first_timestamp,source_id,,source_tag,foo", true, {2, 0, 1}, {}},
        {"source_id,foo", false, {0}, unknown("foo")}, {" , \t,", false, {}, {}},
        {"SOURCE_ID", false, {0}, unknown("SOURCE_ID")},
        {"source id", false, {0}, unknown("source id")},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        CapturedLog log;
        vrn_sort_order_t order = {{}, 1};  // an unknown word changes no count
        EXPECT_EQ(vrn_sort_order_parse(c.text, &order), c.expected);
        EXPECT_EQ(Keys(order.keys, order.keys + order.num_keys), c.keys);
        EXPECT_EQ(log.take(), c.log);
    }
}

}  // namespace
}  // namespace vrn::test
