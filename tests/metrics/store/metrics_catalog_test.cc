#include "metrics/store/metrics_catalog.h"

#include <boost/container_hash/hash.hpp>

#include "support/test.h"

namespace vrn::test {
namespace {

using metrics::LabelIds;
using metrics::LabelMap;
using metrics::MetricsCatalog;
using metrics::ValueType;

std::uint64_t id_of(const std::string &name) {
    return boost::hash<std::string>()(name);
}

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

TEST(ReverseIndex, FindsPairsFromBothSides) {
    metrics::ReverseIndex index;
    index.insert(7, 70);
    const std::string duplicate = "[ReverseIndex] Duplicate key or value detected.";
    EXPECT_EQ(error_of([&] { index.insert(7, 71); }), duplicate);
    EXPECT_EQ(error_of([&] { index.insert(8, 70); }), duplicate);
    EXPECT_EQ(error_of([&] { index.value_of(8); }), "[ReverseIndex] Key not found.");
    EXPECT_EQ(error_of([&] { index.key_of(71); }), "[ReverseIndex] Value not found.");
    index.insert(8, 71);
    EXPECT_EQ(index.value_of(7), 70u);
    EXPECT_EQ(index.key_of(71), 8u);
    EXPECT_TRUE(index.contains_value(70));
    EXPECT_FALSE(index.contains_value(7));
}

TEST(MetricsCatalog, NumbersLabelSetsFrom10000) {
    MetricsCatalog catalog;
    const std::uint64_t one = catalog.intern_labels({{"cpu", "0"}});
    EXPECT_EQ(catalog.intern_labels({}), 0u);
    EXPECT_EQ(catalog.intern_labels({{"cpu", "0"}}), one);
    const std::uint64_t other = catalog.register_label_set({{id_of("cpu"), id_of("1")}});
    EXPECT_EQ(catalog.intern_labels({{"cpu", "1"}}), other);
    EXPECT_EQ(catalog.label_set_number(one), 10000u);
    EXPECT_EQ(catalog.label_set_number(0), 10001u);
    EXPECT_EQ(catalog.label_set_number(other), 10002u);
    LabelIds ids;
    EXPECT_TRUE(catalog.find_label_set(one, &ids));
    EXPECT_EQ(ids, (LabelIds{{id_of("cpu"), id_of("0")}}));
    EXPECT_FALSE(catalog.find_label_set(one + 1, &ids));

    // The hash goes through the pairs in the order of their map.
    const std::uint64_t hash = catalog.intern_labels({{"a", "1"}, {"b", "2"}, {"c", "3"}});
    std::size_t expected = 0;
    for (const auto &[name, value] : catalog.label_sets().at(hash)) {
        boost::hash_combine(expected, name);
        boost::hash_combine(expected, value);
    }
    EXPECT_EQ(hash, expected);
}

TEST(MetricsCatalog, ShowsLabelsAsText) {
    MetricsCatalog catalog;
    const LabelMap labels = {{"b", "2"}, {"a", "1"}, {"", "x"}, {"y", ""}, {"B", "3"}};
    const std::uint64_t hash = catalog.intern_labels(labels);
    EXPECT_EQ(catalog.labels_of(metrics::SeriesKey{5, hash}),
              (LabelMap{{"a", "1"}, {"b", "2"}, {"B", "3"}}));
    EXPECT_EQ(catalog.label_text(hash), "B=3|a=1|b=2");
    EXPECT_EQ(catalog.labels_of(hash + 1), LabelMap{});
    EXPECT_EQ(catalog.label_text(catalog.intern_labels({})), "");
}

TEST(MetricsCatalog, ListsTheLabelsOfAllSets) {
    MetricsCatalog catalog;
    catalog.intern_labels({{"a", "1"}, {"b", "2"}});
    catalog.intern_labels({{"a", "1"}, {"b", "3"}});
    Lines names = {"old"};
    Lines values = {"old"};
    catalog.all_label_strings(&names, &values);
    ASSERT_EQ(names.size(), values.size());
    using Pairs = std::multiset<std::pair<std::string, std::string>>;
    Pairs pairs;
    for (std::size_t i = 0; i < names.size(); ++i) pairs.emplace(names[i], values[i]);
    EXPECT_EQ(pairs, (Pairs{{"a", "1"}, {"b", "2"}, {"b", "3"}}));
}

TEST(MetricsCatalog, ReportsNamesThatAreGone) {
    MetricsCatalog catalog;
    const std::uint64_t hash = catalog.intern_labels({{"a", "1"}});
    const LabelIds ids = catalog.label_sets().at(hash);
    catalog.intern_labels({{"a", "1"}});
    catalog.release_labels(ids);
    EXPECT_EQ(catalog.label_text(hash), "a=1");
    catalog.release_labels(ids);
    const std::string no_name = "Symbol not found for key: " + std::to_string(id_of("a"));
    const std::string no_value = "Symbol not found for key: " + std::to_string(id_of("1"));
    EXPECT_EQ(error_of([&] { catalog.labels_of(hash); }), no_name);

    CapturedLog log;
    Lines names = {"old"};
    Lines values = {"old"};
    catalog.label_strings(ids, &names, &values);
    EXPECT_EQ(names, Lines{""});
    EXPECT_EQ(values, Lines{""});
    catalog.print_metric_name(id_of("a"));
    catalog.print_labels(ids);
    catalog.print_metric_name(catalog.intern("m"));
    catalog.print_labels({{catalog.intern("n"), catalog.intern("v")}});
    const std::string p = " [vrn typed metrics data] ";
    EXPECT_EQ(log.take(), (Lines{"3" + p + "Failed to get label name: " + no_name,
                                 "3" + p + "Failed to get label value: " + no_value,
                                 "3" + p + "Failed to print metric name: " + no_name,
                                 "3" + p + "Failed to print label: " + no_name,
                                 "6" + p + "Metric Name=m", "6" + p + "[n]=[v]"}));
}

TEST(MetricsCatalog, ACapacityOfZeroCountsAsOne) {
    MetricsCatalog catalog({{1, 5}, {2, 0}});
    EXPECT_EQ(catalog.capacity_of(1), 5u);
    EXPECT_EQ(catalog.capacity_of(3), 1u);
    catalog.set_default_capacity(7);
    EXPECT_EQ(catalog.capacity_of(2), 1u);
    EXPECT_EQ(catalog.capacity_of(3), 7u);
    catalog.set_metric_capacities({{3, 2}});
    EXPECT_EQ(catalog.capacity_of(1), 7u);
    EXPECT_EQ(catalog.capacity_of(3), 2u);
}

TEST(MetricsCatalog, AskingForATypeRegistersTheName) {
    MetricsCatalog catalog;
    EXPECT_EQ(catalog.metric_type("m"), ValueType::unknown);
    EXPECT_EQ(catalog.symbols().lookup(id_of("m")), "m");
    catalog.set_metric_type("m", ValueType::int64);
    EXPECT_EQ(catalog.metric_type(id_of("m")), ValueType::int64);
    EXPECT_EQ(catalog.intern(Lines{"b", "m"}), (std::vector{id_of("b"), id_of("m")}));
}

}  // namespace
}  // namespace vrn::test
