#include "vrn_export/format/openmetrics_series.h"

#include <utility>

#include "vrn_export/format/openmetrics_text.h"

namespace vrn::exporter {
namespace {

// No name has such bytes, so a family stands before those whose names go on, and its type before
// its samples.
constexpr char type_mark = '\x01', samples_mark = '\x02';

constexpr std::string_view type_name(FamilyType type) {
    switch (type) {
        case FamilyType::histogram:
            return "histogram";
        case FamilyType::gauge:
            return "gauge";
        case FamilyType::counter:
            return "counter";
    }
    return "";
}

// Of fixed width, so that times sort as bytes. All 64 bits: hostile ones have no other bound.
void append_key_time(std::uint64_t time, TextBuffer *to) {
    constexpr int digits = 16;
    char *out = to->reserve(digits);
    for (int digit = digits - 1; digit >= 0; --digit, time >>= 4)
        out[digit] = "0123456789abcdef"[time & 0xf];
    to->advance_to(out + digits);
}

}  // namespace

void OpenMetricsLabels::add(std::string_view name, std::string_view value) {
    if (value.empty()) return;
    if (text_.size() > 0) text_.append(',');
    text_.append(name);
    text_.append("=\"");
    append_openmetrics_value(value, &text_);
    text_.append('"');
}

void OpenMetricsLabels::add_origin(const Origin &origin) {
    add("source", origin.source);
    add("tag", origin.tag);
}

void OpenMetricsLabels::append_key(TextBuffer *to) const {
    std::string_view rest = text();
    for (std::size_t tab = rest.find('\t'); tab != rest.npos; tab = rest.find('\t')) {
        to->append(rest.substr(0, tab));
        to->append("\\t");  // as no value is escaped
        rest.remove_prefix(tab + 1);
    }
    to->append(rest);
}

OpenMetricsSeries::OpenMetricsSeries(std::string name, FamilyType type, std::string_view label,
                                     std::string_view label_value)
    : name_(std::move(name)), type_(type) {
    label_.add(label, label_value);
}

void OpenMetricsSeries::announce(const Output &out) {
    if (out.run == run_) return;
    run_ = out.run;
    out.text->append(name_);
    out.text->append(type_mark);
    out.text->append("\t# TYPE ");
    out.text->append(name_);
    out.text->append(' ');
    out.text->append(type_name(type_));
    out.text->append('\n');
}

void OpenMetricsSeries::begin(const OpenMetricsLabels &labels, std::uint64_t time,
                              const SamplePart &part, TextBuffer *text) const {
    text->append(name_);
    text->append(samples_mark);
    text->append(static_cast<char>(type_));
    labels.append_key(text);
    text->append(',');
    label_.append_key(text);
    text->append(samples_mark);
    append_key_time(time, text);
    text->append(part.order);
    text->append('\t');

    text->append(name_);
    text->append(part.suffix);
    char before = '{';
    const auto append_labels = [&](std::string_view more) {
        if (more.empty()) return;
        text->append(before);
        text->append(more);
        before = ',';
    };
    append_labels(labels.text());
    append_labels(label_.text());
    if (!part.bound.empty()) {
        text->append(before);
        text->append("le=\"");
        text->append(part.bound);
        text->append('"');
        before = ',';
    }
    text->append(before == ',' ? "} " : " ");
}

void OpenMetricsSeries::end(std::uint64_t time, TextBuffer *text) {
    text->append(' ');
    append_openmetrics_time(time, text);
    text->append('\n');
}

}  // namespace vrn::exporter
