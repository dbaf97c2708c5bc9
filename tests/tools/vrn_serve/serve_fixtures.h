// Data files and stores for the tests of the host.
#pragma once

#include <chrono>
#include <fstream>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>

#include "data/data_file_header.h"
#include "metrics/cntx_builder.h"
#include "support/test.h"
#include "vrn_serve/csv_text.h"
#include "vrn_serve/live_store.h"

namespace vrn::serve::test {

using vrn::test::ByteBuilder;

inline constexpr std::size_t chunk_size = 256;

inline std::string file_head(std::uint64_t first_timestamp) {
    const vrn_data_file_header_ptr head(vrn_data_file_header_create());
    head->block_size = chunk_size;
    head->first_timestamp = first_timestamp;
    return ByteBuilder().raw(head.get(), sizeof *head).done();
}

// A chunk with one sample of metric `name`, label "at" = `label`.
inline std::string sample_chunk(const std::string &name, const std::string &label,
                                std::uint64_t time_us, std::uint64_t value) {
    metrics::CntxBuilder builder;
    const std::uint8_t set = builder.add_label_set({"at"});
    const std::uint16_t metric = builder.add_metric(name);
    builder.add_record({.timestamp = time_us,
                        .metric_type = 'G',
                        .label_set_id = set,
                        .labels = {metrics::CntxBuilder::label_by_text(label)},
                        .samples = {{metric, value}}});
    return ByteBuilder().raw(builder.build()).pad_to(chunk_size).done();
}

// Chunks of metric "m" at `times`, whose values are the times.
inline std::string sample_chunks(std::initializer_list<std::uint64_t> times) {
    std::string chunks;
    for (const std::uint64_t time : times) chunks += sample_chunk("m", "x", time, time);
    return chunks;
}

// All that a store holds: "time,name,labels,value" of each sample, with blanks between them.
inline std::string shown(const LiveStore &store) {
    std::string text;
    const Answer::NextPiece next = make_csv(&store, [](const std::string &) { return true; });
    for (std::string piece; next(&piece);) text += piece;
    for (std::size_t end = 0; (end = text.find("\r\n")) != std::string::npos;)
        text.replace(end, 2, " ");
    return text.substr(text.find(' ') + 1);
}

using Points = std::vector<std::pair<std::uint64_t, std::uint64_t>>;  // time, value

inline void add(LiveStore *store, const std::string &name, const std::string &label,
                const Points &points) {
    const auto intake = store->make_intake();
    auto &series = intake->get_series<vrn::data::metrics::UInt64Tag>(
        intake->intern(name), intake->intern_labels({{"at", label}}));
    for (const auto &[time, value] : points) series.push(time, value);
    store->take(*intake);
}

// Waits for a thread to come to something; the test's own limit is ctest's.
template <typename Condition>
void wait_until(Condition condition) {
    while (!condition()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

inline void append(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::app | std::ios::binary) << bytes;
}

}  // namespace vrn::serve::test
