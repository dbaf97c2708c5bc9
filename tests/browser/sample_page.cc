// Writes a chart page for the browser tests to standard output: sample_page NAME
// Or the points that a page of the usual metrics loads: sample_page points ID,ID,...
// Or a data file of one metric and a label for each value: sample_page METRIC LABEL VALUE ...
// with these texts in hexadecimal digits.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "data/data_file_header.h"
#include "metrics/chart/chart_page.h"
#include "metrics/cntx_builder.h"

namespace vrn::metrics {
namespace {

using vrn::data::metrics::UInt64Tag;

constexpr std::uint64_t second = 1'000'000;  // microseconds
constexpr std::uint64_t sample_count = 600;

std::uint64_t now() {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                          std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

template <typename T, typename Store>
auto &series(Store *store, const std::string &name, const LabelMap &labels) {
    return store->template get_series<T>(store->intern(name), store->intern_labels(labels));
}

// When samples were taken, in microseconds.
struct Times {
    std::uint64_t last;
    std::uint64_t period = second;
};

// `sample_count` samples; `value_at` takes their number.
template <typename T, typename ValueAt>
void add_samples(MetricsHistory *store, const std::string &name, const LabelMap &labels,
                 const Times &times, ValueAt value_at) {
    auto &samples = series<T>(store, name, labels);
    for (std::uint64_t i = 0; i < sample_count; ++i)
        samples.push(times.last - (sample_count - 1 - i) * times.period, value_at(i));
}

double wave(std::uint64_t i, double period) {
    return std::sin(2 * std::numbers::pi * static_cast<double>(i) / period);
}

void add_usual_metrics(MetricsHistory *store, const Times &times) {
    for (std::uint64_t port = 1; port <= 4; ++port) {
        const LabelMap labels = {{"device", "eth0"}, {"port", std::to_string(port)}};
        add_samples<UInt64Tag>(store, "received_bytes", labels, times, [&](std::uint64_t i) {
            const double bytes = static_cast<double>(i * port) * 1e6 + 5e6 * wave(i, 90) + 1e8;
            return static_cast<std::uint64_t>(bytes);
        });
    }
    for (const char *sensor : {"inlet", "outlet"}) {
        const double base = *sensor == 'i' ? 21 : 34;
        add_samples<double>(store, "temperature", {{"sensor", sensor}}, times,
                            [&](std::uint64_t i) { return base + 2.5 * wave(i, 240); });
    }
    add_samples<long>(store, "clock_offset", {}, times,
                      [](std::uint64_t i) { return std::lround(400 * wave(i, 120)); });
}

void add_many_series(MetricsHistory *store, const Times &times) {
    for (int i = 0; i < 200; ++i) {
        const std::string number = std::to_string(i);
        add_samples<double>(store, "link_load", {{"link", number}}, times, [&](std::uint64_t at) {
            return 50 + 0.2 * i + 5 * wave(at + static_cast<std::uint64_t>(i), 100);
        });
    }
}

// As many metrics and samples as a page is meant for.
void add_large_store(MetricsHistory *store, const Times &times) {
    for (int i = 0; i < 5000; ++i) {
        const std::string number = std::to_string(i);
        auto &samples =
            series<double>(store, "link_" + number + "_load", {{"switch", number.substr(0, 1)}});
        for (std::uint64_t at = 0; at < 1000; ++at)
            samples.push(times.last - (999 - at) * times.period, 50 + i + 5 * wave(at, 100 + i));
    }
}

// All that a single-quoted string of JavaScript takes as it is.
void add_odd_labels(MetricsHistory *store, const Times &times) {
    const LabelMap labels = {{"path", R"(/a b?c=d&e;f#g%20 "h" <i>${j}</i> `k` {{l}} °C 漢字 🚀)"}};
    add_samples<double>(store, "odd \"metric\"  <b>&amp;\t% ,\r\n☃", labels, times,
                        [](std::uint64_t i) { return wave(i, 60); });
}

void add_values_that_are_no_numbers(MetricsHistory *store, const Times &times) {
    add_samples<double>(store, "gaps", {}, times, [](std::uint64_t i) {
        if (i % 50 == 7) return std::nan("");
        if (i % 50 == 8) return -std::numeric_limits<double>::infinity();
        return static_cast<double>(i);
    });
}

bool write_points(const std::string &list) {
    MetricsHistory store;
    store.set_default_capacity(1000);
    add_usual_metrics(&store, {now()});
    std::vector<std::uint64_t> ids;
    std::istringstream items(list);
    for (std::string id; std::getline(items, id, ',');) ids.push_back(std::stoull(id));
    write_chart_points(std::cout, store, ids);
    return bool(std::cout.flush());
}

bool write_page(const std::string &name) {
    MetricsHistory store;
    store.set_default_capacity(1000);
    ChartPageOptions options;
    if (name == "usual") {
        add_usual_metrics(&store, {now()});
    } else if (name == "apart" || name == "file") {
        add_usual_metrics(&store, {now()});
        options = {.has_host = name == "apart",
                   .max_script_points = 100,
                   .shows_first = {},
                   .notice = "it's full"};
    } else if (name == "first") {
        add_usual_metrics(&store, {now()});
        options.shows_first = [](const std::string &metric) { return metric == "temperature"; };
    } else if (name == "old") {
        add_usual_metrics(&store, {1'700'000'000 * second, 60 * second});
    } else if (name == "many") {
        add_many_series(&store, {now()});
    } else if (name == "large") {
        add_large_store(&store, {now()});
        options = {.has_host = false, .max_script_points = 200'000};
    } else if (name == "odd") {
        add_odd_labels(&store, {now()});
    } else if (name == "gaps") {
        add_values_that_are_no_numbers(&store, {now()});
    } else if (name == "point") {
        MetricsCurrent current;
        series<double>(&current, "uptime", {{"host", "a"}}).push(now(), 42.5);
        write_chart_page(std::cout, current, 0);
        return bool(std::cout.flush());
    } else if (name != "empty") {
        std::fprintf(stderr, "sample_page: no page named %s\n", name.c_str());
        return false;
    }
    write_chart_page(std::cout, store, options);
    return bool(std::cout.flush());
}

std::string text_of(const std::string &digits) {
    std::string text;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        text += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return text;
}

bool write_data_file(const std::vector<std::string> &texts) {
    CntxBuilder builder;
    builder.add_label_set({text_of(texts.at(1))});
    const std::uint16_t metric = builder.add_metric(text_of(texts.at(0)));
    for (std::size_t i = 2; i < texts.size(); ++i)
        builder.add_record({.timestamp = now(),
                            .metric_type = 'G',
                            .labels = {CntxBuilder::label_by_text(text_of(texts[i]))},
                            .samples = {{metric, i}}});
    const std::string block = builder.build();
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    header->block_size = static_cast<std::uint32_t>(block.size());
    std::cout.write(reinterpret_cast<const char *>(header.get()), sizeof *header) << block;
    return bool(std::cout.flush());
}

}  // namespace
}  // namespace vrn::metrics

int main(int argc, char **argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty()) return EXIT_FAILURE;
    bool done = false;
    if (arguments.size() == 1)
        done = vrn::metrics::write_page(arguments[0]);
    else if (arguments[0] == "points")
        done = vrn::metrics::write_points(arguments[1]);
    else
        done = vrn::metrics::write_data_file(arguments);
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
