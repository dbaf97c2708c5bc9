// The table sections of a CNTX block.
#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "metrics/metrics_parser.h"
#include "metrics/section_mark.h"
#include "metrics/table_sections.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// `which` end of the section is missing: "prefix" or "suffix".
[[noreturn]] void fail_missing(std::string_view mark, const char *which) {
    VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] Invalid binary data format: Missing '%.*s' %s",
            static_cast<int>(mark.size()), mark.data(), which);
    throw std::runtime_error(std::string("Invalid binary data format: Missing ") + which);
}

}  // namespace

std::vector<std::string> names_of(const LabelSetView &set) {
    std::vector<std::string> names;
    names.reserve(set.count);
    ByteReader reader(set.names);
    for (std::string_view name; read_string(reader, &name);) names.emplace_back(name);
    return names;
}

bool read_label_set(Bytes range, LabelSetView *set, Bytes *behind) {
    const Bytes hit = find_mark(range, "LBLN");
    if (hit.empty()) return false;
    ByteReader reader(hit.subspan(MARK_SIZE));
    std::uint8_t count = 0;
    bool is_whole = reader.read(&count);
    const Bytes names = hit.last(reader.remaining());
    std::string_view name;
    for (std::size_t i = 0; is_whole && i < count; ++i) is_whole = read_string(reader, &name);
    const std::size_t names_size = names.size() - reader.remaining();
    // The four bytes of the suffix are passed over without a look.
    if (!is_whole || !reader.skip(MARK_SIZE))
        throw std::runtime_error("Invalid binary data format: Truncated 'LBLN' section");
    *set = {count, names.first(names_size)};
    *behind = hit.last(reader.remaining());
    return true;
}

bool read_string(ByteReader &reader, std::string_view *string) {
    ByteReader ahead = reader;
    std::uint8_t length = 0;
    if (!ahead.read(&length) || !ahead.text(length, string)) return false;
    reader = ahead;
    return true;
}

Bytes read_string_section(Bytes range, std::string_view prefix, std::string_view suffix,
                          std::vector<std::string_view> *strings) {
    const Bytes hit = find_mark(range, prefix);
    if (hit.empty()) {
        strings->clear();
        return hit;
    }
    ByteReader reader(hit.subspan(prefix.size()));
    std::uint16_t count = 0;
    if (!reader.read(&count)) fail_missing(prefix, "prefix");
    if (count > reader.remaining()) fail_missing(suffix, "suffix");
    strings->resize(count);
    for (std::string_view &string : *strings)
        if (!read_string(reader, &string)) fail_missing(suffix, "suffix");
    // Deliberate: the suffix is a mark for readers of the bytes. Any four bytes pass for it, and it
    // is only missed where the range ends before it.
    if (!reader.skip(suffix.size())) fail_missing(suffix, "suffix");
    return hit.last(reader.remaining());
}

bool read_histogram_sections(Bytes *range, const std::vector<std::string> &label_values,
                             HistogramSet *histograms) {
    try {
        *range = histograms->parse_sections(*range, label_values);
        return true;
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] Error parsing histograms: %s", error.what());
        return false;
    }
}

std::uint32_t VrnMetricsParser::find_cntx_total_size(Bytes range) {
    const Bytes hit = find_mark(range, "CNTX");
    if (hit.empty()) {
        VRN_LOG(VRN_LOG_DEBUG,
                "[vrn metrics parser] Missing 'CNTX' magic number in the binary data");
        return 0;
    }
    std::uint32_t total_size = 0;
    const Bytes field = hit.subspan(MARK_SIZE);
    std::memcpy(&total_size, field.data(), std::min(field.size(), sizeof total_size));
    VRN_LOG(VRN_LOG_DEBUG, "[vrn metrics parser] total_size: %u", total_size);
    return total_size;
}

Bytes VrnMetricsParser::parse_label_names(Bytes range, LabelNames *label_names) {
    std::uint64_t index = 0;
    Bytes behind = range.subspan(std::min(MARK_SIZE, range.size()));
    LabelSetView set;
    for (Bytes rest = range; read_label_set(rest, &set, &behind); rest = behind)
        std::ranges::move(names_of(set), std::back_inserter((*label_names)[index++]));
    label_names->erase(index);
    return behind;
}

Bytes VrnMetricsParser::parse_string_section(Bytes range, std::string_view prefix,
                                             std::string_view suffix,
                                             std::vector<std::string> *strings) {
    std::vector<std::string_view> views;
    const Bytes behind = read_string_section(range, prefix, suffix, &views);
    strings->assign(views.begin(), views.end());
    return behind;
}

Bytes VrnMetricsParser::parse_label_values_section(Bytes range,
                                                   std::vector<std::string> *label_values) {
    return parse_string_section(range, "LBLV", "lblv", label_values);
}

Bytes VrnMetricsParser::parse_metric_names_section(Bytes range,
                                                   std::vector<std::string> *metric_names) {
    return parse_string_section(range, "CNTI", "cnti", metric_names);
}

LabelMap VrnMetricsParser::parse_constant_labels(Bytes range) {
    std::vector<std::string_view> strings;
    read_string_section(range, "CLBL", "clbl", &strings);
    LabelMap labels;
    for (std::size_t i = 0; i + 1 < strings.size(); i += 2)
        labels[std::string(strings[i])] = strings[i + 1];
    return labels;
}

Bytes VrnMetricsParser::parse_histogram_sections(Bytes range,
                                                 const std::vector<std::string> &label_values,
                                                 HistogramSet *histograms) {
    Bytes rest = range;
    read_histogram_sections(&rest, label_values, histograms);
    return rest;
}

}  // namespace vrn::metrics
