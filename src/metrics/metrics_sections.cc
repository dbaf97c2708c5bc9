// The table sections of a CNTX block.
#include <algorithm>
#include <stdexcept>

#include "metrics/metrics_parser.h"
#include "metrics/section_mark.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

// `which` end of the section is missing: "prefix" or "suffix".
[[noreturn]] void fail_missing(std::string_view mark, const char *which) {
    VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] Invalid binary data format: Missing '%.*s' %s",
            static_cast<int>(mark.size()), mark.data(), which);
    throw std::runtime_error(std::string("Invalid binary data format: Missing ") + which);
}

// u8 length and text.
bool read_string(ByteReader &reader, std::string *string) {
    std::uint8_t length = 0;
    std::string_view text;
    if (!reader.read(&length) || !reader.text(length, &text)) return false;
    *string = text;
    return true;
}

bool read_label_set(ByteReader &reader, std::vector<std::string> *names) {
    std::uint8_t count = 0;
    if (!reader.read(&count) || count > reader.remaining()) return false;
    names->reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        if (!read_string(reader, &names->emplace_back())) return false;
    return true;
}

}  // namespace

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
    for (Bytes hit = find_mark(range, "LBLN"); !hit.empty(); hit = find_mark(behind, "LBLN")) {
        ByteReader reader(hit.subspan(MARK_SIZE));
        // The four bytes of the suffix are passed over without a look.
        if (!read_label_set(reader, &(*label_names)[index]) || !reader.skip(MARK_SIZE))
            throw std::runtime_error("Invalid binary data format: Truncated 'LBLN' section");
        behind = hit.last(reader.remaining());
        ++index;
    }
    label_names->erase(index);
    return behind;
}

Bytes VrnMetricsParser::parse_string_section(Bytes range, std::string_view prefix,
                                             std::string_view suffix,
                                             std::vector<std::string> *strings) {
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
    for (std::string &string : *strings)
        if (!read_string(reader, &string)) fail_missing(suffix, "suffix");
    // Deliberate: the suffix is a mark for readers of the bytes. Any four bytes pass for it, and it
    // is only missed where the range ends before it.
    if (!reader.skip(suffix.size())) fail_missing(suffix, "suffix");
    return hit.last(reader.remaining());
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
    std::vector<std::string> strings;
    parse_string_section(range, "CLBL", "clbl", &strings);
    LabelMap labels;
    for (std::size_t i = 0; i + 1 < strings.size(); i += 2) labels[strings[i]] = strings[i + 1];
    return labels;
}

Bytes VrnMetricsParser::parse_histogram_sections(Bytes range,
                                                 const std::vector<std::string> &label_values,
                                                 HistogramSet *histograms) {
    try {
        return histograms->parse_sections(range, label_values);
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "[vrn metrics parser] Error parsing histograms: %s", error.what());
        return range;
    }
}

}  // namespace vrn::metrics
