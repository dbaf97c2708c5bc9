#include "reader/sort_order.h"

#include "support/test.h"

namespace vrn::test {
namespace {

using Keys = std::vector<int>;

Keys keys_of(const vrn_sort_order_t &order) {
    return {order.keys, order.keys + order.num_keys};
}

TEST(SortOrder, TakesKeywordsInTheirOrder) {
    const struct {
        const char *text;
        Keys keys;
    } cases[] = {
        {"source_tag,first_timestamp", {1, 2}},
        {"source_id, ,first_timestamp,", {0, 2}},
        {" \t\n\r\f\vsource_tag\v\f\r\n\t ", {1}},
        {"first_timestamp,source_id,source_tag,foo", {2, 0, 1}},
        {",,source_id,,,source_tag,,first_timestamp,,foo", {0, 1, 2}},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.text);
        CapturedLog log;
        vrn_sort_order_t order{};
        EXPECT_TRUE(vrn_sort_order_parse(test.text, &order));
        EXPECT_EQ(keys_of(order), test.keys);
        EXPECT_EQ(log.take(), Lines{});
    }
}

TEST(SortOrder, RefusesUnknownAndMissingKeywords) {
    const struct {
        const char *text;
        const char *unknown;  // null: no line
        int num_keys;         // 9 before the call
    } cases[] = {
        {"source_id,foo", "foo", 9}, {"SOURCE_ID", "SOURCE_ID", 9}, {"source id", "source id", 9},
        {",", nullptr, 0},           {" , \t,", nullptr, 0},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.text);
        CapturedLog log;
        vrn_sort_order_t order{};
        order.num_keys = 9;
        EXPECT_FALSE(vrn_sort_order_parse(test.text, &order));
        EXPECT_EQ(order.num_keys, test.num_keys);
        Lines lines;
        if (test.unknown)
            lines.push_back(std::string("3 [sort] Unknown sort key: '") + test.unknown + "'");
        EXPECT_EQ(log.take(), lines);
    }
    vrn_sort_order_t order{};
    EXPECT_FALSE(vrn_sort_order_parse(nullptr, &order));
    EXPECT_FALSE(vrn_sort_order_parse("source_id", nullptr));
}

}  // namespace
}  // namespace vrn::test
