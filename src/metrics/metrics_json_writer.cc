#include "metrics/metrics_json_writer.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory_resource>
#include <new>
#include <string>
#include <unordered_map>

#include "metrics/json_fit.h"
#include "metrics/section_mark.h"
#include "utils/log.h"
#include "utils/rollback.h"

namespace vrn::metrics {
namespace {

std::uint16_t highest_sample_id(Bytes samples) {
    static_assert(offsetof(MetricSample, sample_id) == 0);
    std::uint16_t highest = 0;
    const std::uint8_t *const end = samples.data() + samples.size();
    for (const std::uint8_t *sample = samples.data(); sample != end; sample += sizeof(MetricSample))
        highest = std::max(highest, load_le<std::uint16_t>(sample));
    return highest;
}

}  // namespace

// A quick look at whether a record fits. See walk_label_values().
class MetricsJsonWriter::RecordLook {
  public:
    explicit RecordLook(MetricsJsonWriter &writer) : writer_(writer) {}

    // Label values recur in record after record, so each is looked at once a block.
    void id(std::size_t, std::uint8_t id) {
        const Fit fit = writer_.value_fits_[id];
        labels_fit_ &= fit == Fit::unknown ? writer_.find_value_fit(id) : fit == Fit::yes;
    }
    void text(std::size_t, std::string_view text) { labels_fit_ &= is_json_text(text); }

    // To be called when the labels have been walked. False for some records that JsonFit passes.
    bool surely_fits(const RecordView &record, bool is_labelled) const {
        if (is_labelled && !(labels_fit_ && has_names_for(record.labels))) return false;
        return record.num_samples() == 0 ||
               highest_sample_id(record.samples) < writer_.block_.metric_names.size();
    }

  private:
    bool has_names_for(const LabelsHeader &labels) const {
        return labels.count <= writer_.block_.label_sets[labels.label_set_id].count;
    }

    MetricsJsonWriter &writer_;
    bool labels_fit_ = true;
};

// See printed_records.h.
class MetricsJsonWriter::MemberWriter {
  public:
    MemberWriter(MetricsJsonWriter &writer, bool microseconds, JsonText &text)
        : writer_(writer), microseconds_(microseconds), text_(text) {}

    bool time(const RecordView &record) {
        text_.plain_key("timestamp");
        text_.number(record.timestamp);
        // Blocks follow each other by seconds, so most of the text of a time is the last one's.
        const std::string_view time = writer_.time_.of(record.timestamp, microseconds_);
        if (time.empty()) return true;
        text_.plain_key("@timestamp");
        return text_.string(time);
    }
    bool labels(const RecordView &record) {
        std::array<std::byte, 1024> room;  // for most labels; others take memory of their own
        std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
        LabelViews labels(&memory);
        collect_labels(record, &labels);
        text_.plain_key("labels");
        text_.begin_array();
        for (const auto &[name, value] : labels) {
            text_.element();
            text_.begin_object();
            text_.key(json_text_of(name));
            if (!text_.string(json_text_of(value))) return fail_label();
            text_.end_object();
        }
        text_.end_array();
        return true;
    }
    bool metrics(const RecordView &record) {
        text_.plain_key("metrics");
        text_.begin_array();
        for (std::size_t i = 0; i < record.num_samples(); ++i) {
            const MetricSample sample = record.sample(i);
            text_.element();
            text_.begin_object();
            text_.key(json_text_of(writer_.block_.metric_names[sample.sample_id]));
            // Deliberate: shown as unsigned, whatever the type of the record.
            text_.number(std::uint64_t{sample.sample_value});
            text_.end_object();
        }
        text_.end_array();
        return true;
    }

  private:
    // The label fits, so memory has run out.
    static bool fail_label() {
        VRN_LOG(VRN_LOG_ERROR, "Failed allocating JSON object");
        return false;
    }

    // In the order of LabelMap, which is the order of the output: views hash as their strings do.
    using LabelViews = std::pmr::unordered_map<std::string_view, std::string_view>;

    // Sets labels by the names of their set: each overwrites the constant of its name, and each
    // later one an earlier. See walk_label_values().
    struct LabelSetter {
        const CntxBlockView &block;
        ByteReader names;
        LabelViews &labels;

        void id(std::size_t index, std::uint8_t id) { text(index, block.label_values[id]); }
        void text(std::size_t, std::string_view text) {
            std::string_view name;
            if (read_string(names, &name)) labels[name] = text;
        }
    };

    void collect_labels(const RecordView &record, LabelViews *labels) const {
        writer_.set_constant_labels(labels);
        const CntxBlockView &block = writer_.block_;
        LabelSetter setter{block, ByteReader(block.label_sets[record.labels.label_set_id].names),
                           *labels};
        walk_label_values(record.labels, record.label_values, setter);
    }

    MetricsJsonWriter &writer_;
    bool microseconds_;
    JsonText &text_;
};

void MetricsJsonWriter::read(Bytes bytes) {
    const Bytes mark = find_mark(bytes, "CNTX");
    const std::size_t offset = bytes.size() - mark.size();
    const Bytes block = bytes.first(std::min<std::size_t>(read_total_size(mark), bytes.size()));
    // A size may cut off even the mark of its block.
    block_.read(block, block.size() < offset + MARK_SIZE ? Bytes() : block.subspan(offset));
    read_records();
    read_string_section(block, "CLBL", "clbl", &constants_);
    records_fit_ = records_fit_ && constants_fit();
}

void MetricsJsonWriter::read_records() {
    // The ids of the last block named other values.
    value_fits_.fill(Fit::unknown);
    // Kept aside until the walk has ended: a malformed record throws out of it.
    PrintedRecords<RecordView> printed;
    bool all_fit = true;
    const std::size_t num_label_sets = block_.label_sets.size();
    scan_records(block_.records, [&](const RecordView &record) {
        RecordLook look(*this);
        const std::size_t size = walk_label_values(record.labels, record.label_values, look);
        const bool is_labelled = record.labels.label_set_id < num_label_sets;
        all_fit &= look.surely_fits(record, is_labelled);
        printed.add(record, is_labelled);
        return size;
    });
    printed_ = printed;
    records_fit_ = all_fit;
}

bool MetricsJsonWriter::find_value_fit(std::uint8_t id) {
    // The rule itself finds the words for what is wrong.
    if (id >= block_.label_values.size()) return false;
    const std::string_view value = block_.label_values[id];
    const bool fits = !value.empty() && is_json_text(value);
    value_fits_[id] = fits ? Fit::yes : Fit::no;
    return fits;
}

bool MetricsJsonWriter::constants_fit() const {
    for (std::size_t i = 1; i < constants_.size(); i += 2)
        if (!is_json_text(constants_[i])) return false;
    return true;
}

bool MetricsJsonWriter::write(bool microseconds, JsonText *text) {
    // Part of the members may stand in the text.
    Rollback added([text, start = text->mark()] { text->rewind(start); });
    bool done = false;
    try {
        done = (records_fit_ || check_records()) && write_members(microseconds, text);
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "failed to JSONify metrics: %s", error.what());
        if (dynamic_cast<const std::bad_alloc *>(&error)) throw;
    }
    if (done) added.keep();
    return done;
}

bool MetricsJsonWriter::write_members(bool microseconds, JsonText *text) {
    MemberWriter members(*this, microseconds, *text);
    text->begin_object();
    const bool done = printed_.walk(members);
    text->end_object();
    return done;
}

// The rule itself, record by record. False after error lines; throws std::runtime_error.
bool MetricsJsonWriter::check_records() const {
    CntxBlockTables tables = block_.copy_label_tables();
    set_constant_labels(&tables.constant_labels);
    const JsonFit fit(tables, block_.metric_names.size());
    MetricRecord copy;
    bool all_fit = true;
    scan_records(block_.records, [&](const RecordView &record) {
        const std::size_t size = copy_record(record, &copy);
        all_fit = all_fit && fit.fits(copy);
        return size;
    });
    return all_fit;
}

}  // namespace vrn::metrics
