// Value types of the series in a store.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "metrics/histogram_buckets.h"

namespace vrn::data::metrics {

// Names of value types that share the representation of an unsigned 64-bit number.
struct UInt64Tag {};
struct Bit64Tag {};  // a pattern of bits, shown in hexadecimal

}  // namespace vrn::data::metrics

namespace vrn::metrics {

// The first five are those of metric records as well.
enum class ValueType : std::uint32_t {
    unknown = 0,
    uint64 = 1,
    float64 = 2,
    bits64 = 3,
    int64 = 4,
    string = 5,
    histogram = 6,
};

// For each value type T of a store: its code and what a buffer holds.
template <typename T>
struct ValueTraits;

template <typename StoredValue, ValueType Code>
struct ValueTraitsOf {
    using Stored = StoredValue;
    static constexpr ValueType code = Code;
};

template <>
struct ValueTraits<vrn::data::metrics::UInt64Tag>
    : ValueTraitsOf<std::uint64_t, ValueType::uint64> {};
template <>
struct ValueTraits<double> : ValueTraitsOf<double, ValueType::float64> {};
template <>
struct ValueTraits<vrn::data::metrics::Bit64Tag> : ValueTraitsOf<std::uint64_t, ValueType::bits64> {
};
template <>
struct ValueTraits<long> : ValueTraitsOf<long, ValueType::int64> {};
template <>
struct ValueTraits<std::string> : ValueTraitsOf<std::string, ValueType::string> {};
template <>
struct ValueTraits<HistogramBuckets> : ValueTraitsOf<HistogramBuckets, ValueType::histogram> {};

template <typename T>
using StoredValue = typename ValueTraits<T>::Stored;

// Values of one series, oldest first.
using SampleValues =
    std::variant<std::vector<std::uint64_t>, std::vector<long>, std::vector<double>,
                 std::vector<HistogramBuckets>, std::vector<std::string>>;

// Samples of one series: two vectors of equal length, oldest first.
struct Samples {
    std::vector<std::uint64_t> timestamps;  // microseconds since the epoch
    SampleValues values;
};

}  // namespace vrn::metrics
