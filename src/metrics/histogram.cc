#include "metrics/histogram.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "metrics/labels_block.h"
#include "metrics/section_mark.h"

namespace vrn::metrics {
namespace {

constexpr const char *truncated = "Invalid binary data format: Truncated 'HIST' section";

bool read_buckets(ByteReader &reader, std::vector<Bucket> *buckets) {
    std::uint8_t count = 0;
    Bytes raw;
    if (!reader.read(&count) || !reader.bytes(count * sizeof(Bucket), &raw)) return false;
    buckets->resize(count);
    if (count > 0) std::memcpy(buckets->data(), raw.data(), raw.size());
    return true;
}

// All fields before the labels block.
bool read_fields(ByteReader &reader, Histogram *histogram) {
    std::uint8_t length = 0;
    std::string_view name;
    if (!reader.skip(MARK_SIZE) || !reader.read(&histogram->timestamp) || !reader.read(&length) ||
        !reader.text(length, &name) || !read_buckets(reader, &histogram->buckets) ||
        !reader.read(&histogram->sum) || !reader.read(&histogram->count))
        return false;
    histogram->name = name;
    return true;
}

}  // namespace

std::uint64_t Histogram::parse(Bytes section, const std::vector<std::string> &label_values,
                               Histogram *histogram) {
    ByteReader reader(section);
    if (!read_fields(reader, histogram)) throw std::runtime_error(truncated);
    std::vector<EncodedLabel> labels;
    const std::uint64_t end =
        parse_labels_block(section, section.size() - reader.remaining(), &histogram->label_set_id,
                           &labels, "Histogram::parse");
    histogram->label_values = decode_label_values(labels, label_values);
    return end;
}

std::uint64_t HistogramSet::next_id() const {
    std::uint64_t next = 0;
    for (const auto &[id, histogram] : histograms) next = std::max(next, id + 1);
    return next;
}

Bytes HistogramSet::parse_sections(Bytes range, const std::vector<std::string> &label_values) {
    std::uint64_t id = next_id();
    Bytes rest = range;
    for (Bytes hit = find_mark(rest, "HIST"); !hit.empty(); hit = find_mark(rest, "HIST")) {
        Histogram histogram;
        const std::uint64_t end = Histogram::parse(hit, label_values, &histogram);
        // The closing mark is passed over without a look.
        if (hit.size() - end < MARK_SIZE) throw std::runtime_error(truncated);
        rest = hit.subspan(end + MARK_SIZE);
        histograms.emplace(id++, std::move(histogram));
    }
    return rest;
}

}  // namespace vrn::metrics
