// A data file with the values that formats have no plain form for, and its schemas.
#pragma once

#include <cstring>
#include <limits>
#include <string>

#include "data/schema/schema_text.h"
#include "metrics/histogram.h"
#include "support/byte_builder.h"
#include "support/sample_files.h"
#include "support/stream_blocks.h"

namespace vrn::test {

inline constexpr std::size_t odd_chunk_size = 1024;

inline void write_odd_schemas(const TempDir &dir) {
    const std::string types =
        "cpu\\u0020load 64 timestamp:timestamp@0,8 time:timestamp@8,8 user:uint64_t@16,8 "
        "a\\u0020b:int@24,4 a/b:uint8_t@28,1 a\\\\b:uint8_t@29,1 tag:bool@30,1 "
        "guid:unsigned\\u0020char@31,1 "
        "f:float@32,4 d:double@36,8 name:char@44,1x12 cpu:uint16_t@56,2;"
        "bare 8 timestamp:timestamp@0,8";
    dir.write(std::string("schema/schema_") + sample_events_id + ".json", schema_text(types));
    const auto counter = [](const std::string &name, const std::string &type,
                            const std::string &counting) {
        return R"({"name":")" + name + R"(","description":"","units":"","data_type":")" + type +
               R"(","counting_type":")" + counting + R"(","length":8})";
    };
    dir.write(
        std::string("schema/schema_") + sample_counters_id + ".json",
        R"({"version":"1.5.0","counter_groups":[{"granularity":"NODE","name":"port","provider":"p",
"num_counter_sets":1,"num_counters":5,"counters":[)" +
            join({counter("rx.bytes", "UINT64", "RUNNING_SUM"),
                  counter("rx_bytes", "UINT64", "DELTA"),
                  counter("errors_total", "INT64", "RUNNING_SUM"),
                  counter("mask", "BIT64", "ABSOLUTE"), counter("wide", "UINT128", "ABSOLUTE")}) +
            "]}]}");
}

struct OddRow {
    std::uint64_t time = 1000;
    std::uint64_t user = 1;
    float f = 0.5;
    double d = 0.25;
    std::string name = "eth0";

    std::string bytes() const {
        return ByteBuilder()
            .u64(time)
            .u64(77)
            .u64(user)
            .u32(static_cast<std::uint32_t>(-5))
            .u8(1)
            .u8(2)
            .u8(1)
            .u8(200)
            .f32(f)
            .f64(d)
            .field(name, 12)
            .u16(3)
            .zeros(6)
            .done();
    }
};

inline std::string odd_events(std::initializer_list<OddRow> rows) {
    ByteBuilder block;
    block.text("VRNE").u64(1000).u8(0).u16(0).u8(static_cast<std::uint8_t>(rows.size()));
    for (const OddRow &row : rows) block.text(row.bytes());
    return block.text("VRNE").u64(1000).u8(0).u16(1).u8(1).u64(1000).pad_to(odd_chunk_size).done();
}

inline std::string odd_counters() {
    return ByteBuilder()
        .text("VRND")
        .u32(0)
        .u64(2000)
        .u64(5)
        .u64(std::numeric_limits<std::uint64_t>::max())
        .i64(-1)
        .u64(255)
        .u64(1)
        .u64(1)
        .pad_to(odd_chunk_size)
        .done();
}

inline std::string odd_metrics() {
    metrics::CntxBuilder builder;
    const std::uint8_t set = builder.add_label_set({"le", "a b", "a\\b", "a/b", "source", "empty"});
    const auto labels = [&] {
        std::vector<metrics::EncodedLabel> all;
        for (const char *text : {"1", "x,y", "\"q\"\\", "tab\tline\nend", "\xff\xc3\xa4", ""})
            all.push_back(metrics::CntxBuilder::label_by_text(text));
        return all;
    }();
    const std::uint16_t busy = builder.add_metric("busy"), ends = builder.add_metric("9.lat_count");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::uint64_t nan_bits = 0;
    std::memcpy(&nan_bits, &nan, sizeof nan);
    builder.add_record({.timestamp = 3000,
                        .label_set_id = set,
                        .labels = labels,
                        .samples = {{busy, 7}, {ends, ~std::uint64_t{0}}}});
    builder.add_record({.timestamp = 4000,
                        .metric_type = 'G',
                        .value_type = 2,
                        .samples = {{busy, nan_bits}, {ends, 0x3ff8000000000000}}});
    const double infinity = std::numeric_limits<double>::infinity();
    builder.add_histogram({.buckets = {{0.5, 1}, {0.5, 2}, {1e6, 3}, {infinity, 4}},
                           .sum = 6.5,
                           .count = 4,
                           .name = "lat",
                           .timestamp = 5000},
                          {.label_set_id = set, .labels = labels});
    builder.add_histogram({.buckets = {{nan, 9}, {2, 1}},
                           .sum = nan,
                           .count = 1,
                           .name = "",
                           .timestamp = std::uint64_t{1} << 63},
                          {});
    return builder.build();
}

inline std::string odd_file(std::initializer_list<OddRow> rows) {
    return ByteBuilder()
        .text(sample_file_header(odd_chunk_size))
        .text(odd_events(rows))
        .text(odd_counters())
        .text(odd_metrics())
        .done();
}

}  // namespace vrn::test
