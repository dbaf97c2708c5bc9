// CNTX blocks for tests, and edits that spoil them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "metrics/cntx_builder.h"
#include "utils/byte_reader.h"

namespace vrn::test {

// A copy of `bytes` in memory of exactly that size, so that a sanitizer sees each read past it.
class ExactBytes {
  public:
    explicit ExactBytes(const std::string &bytes) : bytes_(bytes.begin(), bytes.end()) {
        bytes_.shrink_to_fit();
    }
    operator Bytes() const { return bytes_; }

  private:
    std::vector<std::uint8_t> bytes_;
};

// Two label sets, two label values, two metrics, a constant label, and a record of each encoding.
inline metrics::CntxBuilder sample_stream() {
    using metrics::CntxBuilder;
    using metrics::LabelEncoding;
    CntxBuilder builder;
    const std::uint8_t cpu = builder.add_label_set({"cpu", "mode"});
    const std::uint8_t plain = builder.add_label_set({});
    const std::uint16_t busy = builder.add_metric("busy");
    const std::uint16_t idle = builder.add_metric("idle");
    const metrics::EncodedLabel zero = builder.label_by_id("cpu0");
    const metrics::EncodedLabel user = builder.label_by_id("user");
    builder.add_constant_label("host", "n1");
    builder.add_record({.timestamp = 1000,
                        .label_set_id = cpu,
                        .encoding = LabelEncoding::ids,
                        .labels = {zero, user},
                        .samples = {{busy, 7}, {idle, 9}}});
    builder.add_record({.timestamp = 2000,
                        .metric_type = 'G',
                        .value_type = 2,
                        .label_set_id = cpu,
                        .encoding = LabelEncoding::mixed,
                        .labels = {zero, CntxBuilder::label_by_text("nice")},
                        .samples = {{idle, 11}}});
    builder.add_record({.timestamp = 3000,
                        .label_set_id = plain,
                        .encoding = LabelEncoding::texts,
                        .labels = {},
                        .samples = {{busy, 13}}});
    return builder;
}

// Writes `bytes` at `offset` after the start of the first `mark`.
inline std::string with_bytes(std::string block, std::string_view mark, std::size_t offset,
                              std::string_view bytes) {
    return block.replace(block.find(mark) + offset, bytes.size(), bytes);
}

// Writes `total_size` at its place.
inline std::string with_total_size(std::string block, std::uint32_t total_size) {
    return with_bytes(std::move(block), "CNTX", 4,
                      {reinterpret_cast<const char *>(&total_size), sizeof total_size});
}

// Puts `bytes` before the first `mark` and mends `total_size`.
inline std::string with_inserted(std::string block, std::string_view mark, std::string_view bytes) {
    block.insert(block.find(mark), bytes);
    return with_total_size(block, static_cast<std::uint32_t>(block.size()));
}

// Takes `count` bytes away from the first `mark` on and mends `total_size`.
inline std::string without(std::string block, std::string_view mark, std::size_t count) {
    block.erase(block.find(mark), count);
    return with_total_size(block, static_cast<std::uint32_t>(block.size()));
}

}  // namespace vrn::test
