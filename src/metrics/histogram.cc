#include "metrics/histogram.h"

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "data/time.h"
#include "metrics/labels_block.h"
#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// Marks, timestamp, the lengths of name and buckets, sum and count.
constexpr std::size_t fixed_size = 34;
// Given as a time, it leaves the histogram as it is.
constexpr std::uint64_t keep_timestamp = ~std::uint64_t{0};

bool read_buckets(ByteReader &reader, std::vector<Bucket> *buckets) {
    std::uint8_t count = 0;
    Bytes raw;
    if (!reader.read(&count) || !reader.bytes(count * sizeof(Bucket), &raw)) return false;
    // Only after the bytes were found, so the count reserves nothing by itself.
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
    if (!read_fields(reader, histogram))
        throw std::runtime_error("Invalid binary data format: Truncated 'HIST' section");
    // The labels block starts where the fields end; its offset is counted from the mark.
    std::vector<EncodedLabel> labels;
    const std::uint64_t end =
        parse_labels_block(section, section.size() - reader.remaining(), &histogram->label_set_id,
                           &labels, "Histogram::parse");
    histogram->label_values = decode_label_values(labels, label_values);
    return end;
}

void Histogram::observe(double value) {
    // A histogram is as old as its first observation.
    if (timestamp == 0) timestamp = vrn_time_now();
    sum += value;
    ++count;
    // A value that is no number ends the walk, too.
    for (auto bucket = buckets.rbegin(); bucket != buckets.rend(); ++bucket) {
        if (!(value <= bucket->upper_bound)) return;
        ++bucket->count;
    }
}

void Histogram::set_timestamp(std::uint64_t time) {
    if (time == keep_timestamp) return;
    timestamp = time == 0 ? vrn_time_now() : time;
    // Deliberate: both are times after the change; they differ when the argument is 0.
    VRN_LOG(VRN_LOG_DEBUG,
            "[vrn metrics histograms] Histogram '%s' timestamp changed from %lu to %lu",
            name.c_str(), timestamp, time);
}

void Histogram::set_report_interval(std::uint64_t interval_ms) {
    report_interval_ms = interval_ms;
    report_time = vrn_time_now();
}

bool Histogram::is_due() const {
    // Without labels there is no series to report it under.
    if (report_interval_ms == 0 || label_values.empty()) return false;
    return vrn_time_now() - report_time >= report_interval_ms * 1000;
}

void Histogram::reset() {
    for (Bucket &bucket : buckets) bucket.count = 0;
    sum = 0;
    count = 0;
    // A reset histogram is due at once.
    report_time = 0;
}

std::size_t Histogram::serialized_size(std::size_t labels_size) const {
    return buckets.size() * sizeof(Bucket) + name.size() + labels_size + fixed_size;
}

void Histogram::serialize(Bytes labels_block, PreallocatedVector *out) const {
    // The field is one byte wide; what it can't tell is not written.
    const auto name_length = static_cast<std::uint8_t>(name.size());
    out->append(bytes_of("HIST"));
    out->push_back(timestamp);
    out->push_back(name_length);
    out->append(bytes_of(name).first(name_length));
    out->push_back(static_cast<std::uint8_t>(buckets.size()));
    for (const Bucket &bucket : buckets) out->push_back(bucket);
    out->push_back(sum);
    out->push_back(count);
    out->append(labels_block);
    out->append(bytes_of("hist"));
}

}  // namespace vrn::metrics
