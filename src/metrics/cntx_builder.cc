#include "metrics/cntx_builder.h"

#include <cstring>

#include "metrics/section_mark.h"
#include "utils/throw_error.h"

namespace vrn::metrics {
namespace {

// Widths of the format's fields: texts, labels and buckets are counted by one byte, strings and
// records by two.
constexpr std::size_t max_text = 255;
constexpr std::size_t max_label_sets = 256;
constexpr std::size_t max_labels = 255;
constexpr std::size_t max_buckets = 255;
constexpr std::size_t max_label_values = 256;
constexpr std::size_t max_strings = 65535;
constexpr std::size_t max_record_size = 65535;
// Counting readers take larger blocks for damaged ones.
constexpr std::size_t max_block_size = 0x40000000;

void require_room(std::size_t size, std::size_t max, const char *what) {
    if (size > max)
        vrn_throw_runtime_error("[cntx builder] %s: %zu exceeds the limit of %zu", what, size, max);
}

template <typename T>
void put(std::string *out, T value) {
    out->append(reinterpret_cast<const char *>(&value), sizeof value);
}

void put_string(std::string *out, const std::string &text) {
    put(out, static_cast<std::uint8_t>(text.size()));
    *out += text;
}

void put_label(std::string *out, const EncodedLabel &label, LabelEncoding encoding) {
    const bool by_id = label.key_type == LabelKeyType::label_value_id;
    // In the encodings of one kind nothing tells the kind of a single label.
    const LabelEncoding own = by_id ? LabelEncoding::ids : LabelEncoding::texts;
    if (encoding == LabelEncoding::mixed)
        put(out, own);
    else if (encoding != own)
        vrn_throw_runtime_error("[cntx builder] label does not fit encoding '%c'",
                                static_cast<char>(encoding));
    if (by_id)
        put(out, static_cast<std::uint8_t>(label.label_value_id));
    else
        put_string(out, label.label_value);
}

std::string encode_labels(const CntxLabels &labels) {
    require_room(labels.labels.size(), max_labels, "labels");
    std::string block;
    put(&block, labels.label_set_id);
    put(&block, static_cast<std::uint8_t>(labels.labels.size()));
    put(&block, labels.encoding);
    for (const EncodedLabel &label : labels.labels) {
        require_room(label.label_value.size(), max_text, "label value");
        put_label(&block, label, labels.encoding);
    }
    return block;
}

// Where readers, who search for the mark from one place on, must find it; npos: nowhere.
struct Mark {
    std::string_view text;
    std::size_t search_from;
    std::size_t expected;
};

// Readers find sections by their marks, wherever these bytes stand. So a block whose data holds a
// mark would be misread, and no escape exists: it is refused.
void require_marks(const std::string &block, const std::vector<Mark> &marks) {
    for (const Mark &mark : marks)
        if (block.find(mark.text, mark.search_from) != mark.expected)
            vrn_throw_runtime_error("[cntx builder] the data holds the section mark '%.*s'",
                                    static_cast<int>(mark.text.size()), mark.text.data());
}

void put_label_set(std::string *out, const std::vector<std::string> &names) {
    *out += "LBLN";
    put(out, static_cast<std::uint8_t>(names.size()));
    for (const std::string &name : names) put_string(out, name);
    *out += "lbln";
}

void put_strings(std::string *out, std::string_view prefix, std::string_view suffix,
                 const std::vector<std::string> &strings) {
    *out += prefix;
    put(out, static_cast<std::uint16_t>(strings.size()));
    for (const std::string &string : strings) put_string(out, string);
    *out += suffix;
}

void put_histograms(std::string *out, const std::vector<std::string> &histograms,
                    std::vector<Mark> *marks) {
    std::size_t search_from = out->size();
    for (const std::string &histogram : histograms) {
        marks->push_back({"HIST", search_from, out->size()});
        *out += histogram;
        search_from = out->size();
    }
    marks->push_back({"HIST", search_from, std::string::npos});
}

void put_records(std::string *out, const std::string &records) {
    const std::size_t section_size = MARK_SIZE + sizeof(std::uint32_t) + records.size() + MARK_SIZE;
    // Readers take it as the bound of each record's labels, counted from the start of the record,
    // so any value from the largest record on is right; this one is the size of the section.
    *out += "CNTD";
    put(out, static_cast<std::uint32_t>(section_size));
    *out += records;
    *out += TRAILER;
}

}  // namespace

std::uint8_t CntxBuilder::add_label_set(const std::vector<std::string> &names) {
    require_room(label_sets_.size() + 1, max_label_sets, "label sets");
    require_room(names.size(), max_labels, "label names");
    for (const std::string &name : names) require_room(name.size(), max_text, "label name");
    label_sets_.push_back(names);
    return static_cast<std::uint8_t>(label_sets_.size() - 1);
}

EncodedLabel CntxBuilder::label_by_id(const std::string &text) {
    auto known = label_value_ids_.find(text);
    if (known == label_value_ids_.end()) {
        require_room(label_values_.size() + 1, max_label_values, "label values");
        require_room(text.size(), max_text, "label value");
        known = label_value_ids_.emplace(text, label_values_.size()).first;
        label_values_.push_back(text);
    }
    return {.key_type = LabelKeyType::label_value_id,
            .label_value_id = known->second,
            .label_value = {}};
}

EncodedLabel CntxBuilder::label_by_text(std::string text) {
    return {
        .key_type = LabelKeyType::label_value, .label_value_id = 0, .label_value = std::move(text)};
}

std::uint16_t CntxBuilder::add_metric(const std::string &name) {
    if (const auto known = metric_ids_.find(name); known != metric_ids_.end()) return known->second;
    require_room(metric_names_.size() + 1, max_strings, "metric names");
    require_room(name.size(), max_text, "metric name");
    const auto id = static_cast<std::uint16_t>(metric_names_.size());
    metric_ids_.emplace(name, id);
    metric_names_.push_back(name);
    return id;
}

void CntxBuilder::add_constant_label(const std::string &name, const std::string &value) {
    require_room(constant_labels_.size() + 2, max_strings, "constant label texts");
    for (const std::string &text : {name, value})
        require_room(text.size(), max_text, "constant label");
    constant_labels_.push_back(name);
    constant_labels_.push_back(value);
}

void CntxBuilder::add_record(const CntxRecord &record) {
    const std::string labels = encode_labels({record.label_set_id, record.encoding, record.labels});
    const std::size_t size =
        RECORD_HEADER_SIZE + record.samples.size() * sizeof(MetricSample) + labels.size();
    require_room(size, max_record_size, "record");

    put(&records_, static_cast<std::uint16_t>(size));
    put(&records_, record.timestamp);
    put(&records_, record.metric_type);
    put(&records_, record.value_type);
    put(&records_, static_cast<std::uint16_t>(record.samples.size()));
    for (const MetricSample &sample : record.samples) put(&records_, sample);
    records_ += labels;
}

void CntxBuilder::add_histogram(const Histogram &histogram, const CntxLabels &labels) {
    require_room(histogram.name.size(), max_text, "metric name");
    require_room(histogram.buckets.size(), max_buckets, "buckets");
    const std::string block = encode_labels(labels);
    PreallocatedVector section(histogram.serialized_size(block.size()));
    histogram.serialize(bytes_of(block), &section);
    histograms_.emplace_back(section.bytes().begin(), section.bytes().end());
}

std::string CntxBuilder::build() const {
    std::string block("CNTX\0\0\0\0", 8);
    std::vector<Mark> marks;
    std::size_t search_from = 0;
    for (const std::vector<std::string> &names : label_sets_) {
        marks.push_back({"LBLN", search_from, block.size()});
        put_label_set(&block, names);
        search_from = block.size();
    }
    // Readers look for one more label set after the last one, through all that follows.
    marks.push_back({"LBLN", search_from, std::string::npos});
    marks.push_back({"LBLV", search_from, block.size()});
    put_strings(&block, "LBLV", "lblv", label_values_);
    marks.push_back({"CNTI", block.size(), block.size()});
    put_strings(&block, "CNTI", "cnti", metric_names_);
    put_histograms(&block, histograms_, &marks);
    // These two are searched from the start of the block.
    marks.push_back({"CLBL", 0, constant_labels_.empty() ? std::string::npos : block.size()});
    if (!constant_labels_.empty()) put_strings(&block, "CLBL", "clbl", constant_labels_);
    marks.push_back({"CNTD", 0, block.size()});
    put_records(&block, records_);

    require_room(block.size(), max_block_size, "block");
    require_marks(block, marks);
    const auto total_size = static_cast<std::uint32_t>(block.size());
    std::memcpy(block.data() + MARK_SIZE, &total_size, sizeof total_size);
    return block;
}

}  // namespace vrn::metrics
