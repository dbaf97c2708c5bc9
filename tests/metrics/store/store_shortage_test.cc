// A store while memory runs out: what failed is told, and the store is fit for the next block.
#include <functional>
#include <new>
#include <sstream>

#include "metrics/chart/chart_page.h"
#include "metrics/store/histogram_store.h"
#include "metrics/store/metrics_feed.h"
#include "support/failing_allocation.h"
#include "support/store_text.h"
#include "support/stream_blocks.h"
#include "utils/log.h"

namespace vrn::test {
namespace {

using namespace metrics;

constexpr std::uint64_t consumer = 1;

// Takes no memory.
int lines_logged = 0;

void count_line(std::int32_t /*level*/, const char * /*format*/, ...) {
    ++lines_logged;
}

class StoreShortage : public testing::Test {
  protected:
    StoreShortage() { vrn_log_register_callback(count_line, VRN_LOG_INFO); }
    ~StoreShortage() override { vrn_log_register_callback(nullptr, VRN_LOG_ERROR); }
};

std::string joined(const Lines &lines) {
    std::string text;
    for (const std::string &line : lines) text += line + "\n";
    return text;
}

// Texts too long for what strings hold in place, values of two types, and a histogram.
std::string block() {
    CntxBuilder builder;
    const std::uint8_t set = builder.add_label_set({"the name of a label", "mode"});
    builder.add_constant_label("the name of the host", "the first node of all");
    const EncodedLabel text = CntxBuilder::label_by_text("the value of a label");
    const EncodedLabel id = builder.label_by_id("another value of a label");
    const std::vector<EncodedLabel> labels = {text, id};
    const std::uint16_t first = builder.add_metric("the first metric of all");
    const std::uint16_t second = builder.add_metric("the second metric of all");
    builder.add_record({.timestamp = 1,
                        .label_set_id = set,
                        .labels = labels,
                        .samples = {{first, 7}, {second, 8}}});
    builder.add_record({.timestamp = 2,
                        .value_type = 4,
                        .label_set_id = set,
                        .labels = {id, text},
                        .samples = {{builder.add_metric("third"), 9}}});
    builder.add_histogram({.buckets = {{1, 2}, {2, 3}},
                           .sum = 4,
                           .count = 5,
                           .name = "the histogram of all",
                           .timestamp = 3},
                          {.label_set_id = set, .labels = labels});
    return builder.build();
}

// All that can be asked of a store; throws when something of a series is missing.
template <typename Store>
std::string contents(const Store &store) {
    for (const SeriesKey &key : store.series_keys()) store.label_set_number(key.label_set);
    return joined(shown(store));
}

TEST_F(StoreShortage, TellsOfLostSamplesAndTakesThemAgain) {
    const ExactBytes bytes(block());
    for (const bool derives : {false, true}) {
        SCOPED_TRACE(derives);
        std::string expected;
        expect_all_or_nothing([&] {
            lines_logged = 0;
            MetricsCurrent store;
            store.set_derives_histograms(derives);
            start_shortage();
            const bool is_whole = feed_cntx_blocks(bytes, nullptr, &store).incomplete == 0;
            end_shortage();
            EXPECT_EQ(is_whole, lines_logged == 0);
            if (!is_whole) {
                EXPECT_EQ(feed_cntx_blocks(bytes, nullptr, &store).incomplete, 0U);
            }
            const std::string stored = contents(store);
            if (expected.empty()) expected = stored;
            EXPECT_EQ(stored, expected);
            return is_whole ? stored : "";
        });
    }
}

TEST_F(StoreShortage, ThrowsWhereSomethingIsAsked) {
    const ExactBytes bytes(block());
    const auto fill = [&](MetricsHistory *store) {
        store->set_default_capacity(2);
        feed_cntx_blocks(bytes, nullptr, store);
        store->set_derives_histograms(true);
        feed_cntx_blocks(bytes, nullptr, store);
    };
    const struct {
        const char *name;
        std::function<std::string(MetricsHistory *)> ask;
    } cases[] = {
        {"page",
         [](MetricsHistory *store) {
             std::ostringstream page;
             write_chart_page(page, *store, 0, {});
             page.clear(page.rdstate() & ~std::ios::failbit);
             return page ? page.str() : throw std::bad_alloc();
         }},
        {"derived series",
         [](MetricsHistory *store) {
             std::unique_ptr<MetricsHistory> derived;
             generate_histogram_derivative(&derived, *store, "the histogram of all", 0, 9);
             end_shortage();
             return contents(*derived);
         }},
        {"groups",
         [](MetricsHistory *store) {
             SeriesGroups groups;
             group_bucket_metrics(*store, store->series_keys(), &groups);
             end_shortage();
             Lines lines;
             for (const auto &[name, keys] : groups)
                 lines.push_back(name + " " + std::to_string(keys.size()));
             return joined(lines);
         }},
        {"unread names",
         [](MetricsHistory *store) {
             const std::string first = "the first metric of all";
             return joined({*store->unread_names(consumer, {first}).begin()});
         }},
        {"labels",
         [](MetricsHistory *store) {
             std::vector<std::string> names;
             std::vector<std::string> values;
             store->all_label_strings(&names, &values);
             return joined(names) + joined(values);
         }},
        {"histogram",
         [](MetricsHistory *store) {
             const bool is_known = is_histogram_metric("the histogram of all", store);
             return std::string(is_known ? "known" : "unknown");
         }},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        expect_all_or_nothing([&] {
            MetricsHistory store;
            fill(&store);
            std::string answer;
            start_shortage();
            try {
                answer = test.ask(&store);
            } catch (const std::bad_alloc &) {
                answer.clear();
            }
            end_shortage();
            return answer;
        });
    }
}

TEST_F(StoreShortage, KeepsSamplesForTheConsumerThatCouldNotTakeThem) {
    const ExactBytes bytes(block());
    expect_all_or_nothing([&] {
        MetricsHistory store;
        store.set_default_capacity(2);
        feed_cntx_blocks(bytes, nullptr, &store);
        const auto &[metric_id, series] = *store.find_table<long>()->metrics.begin();
        const SeriesKey key = {metric_id, series.begin()->first};
        const auto read = [&] {
            std::vector<std::uint64_t> timestamps;
            std::vector<long> values;
            store.read_unread<long>(consumer, key, &timestamps, &values, 9);
            return std::to_string(values.at(0));
        };
        std::string taken;
        start_shortage();
        try {
            taken = read();
        } catch (const std::bad_alloc &) {
            end_shortage();
            EXPECT_EQ(read(), "9");
        }
        end_shortage();
        return taken;
    });
}

}  // namespace
}  // namespace vrn::test
