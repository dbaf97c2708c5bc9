#include "metrics/metrics_text.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory_resource>
#include <string>
#include <unordered_map>

#include "metrics/record_check.h"
#include "utils/log.h"

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
class MetricsText::RecordFit {
  public:
    explicit RecordFit(MetricsText &owner) : owner_(owner) {}

    void id(std::size_t, std::uint8_t id) {
        const Fit fit = owner_.value_fits_[id];
        labels_fit_ &= fit == Fit::unknown ? owner_.find_value_fit(id) : fit == Fit::yes;
    }
    void text(std::size_t, std::string_view text) { labels_fit_ &= is_json_text(text); }

    // To be called when the labels have been walked.
    bool fits(const RecordView &record, bool is_labelled) const {
        if (is_labelled && !(labels_fit_ && has_names_for(record.labels))) return false;
        return record.num_samples() == 0 ||
               highest_sample_id(record.samples) < owner_.block_.metric_names.size();
    }

  private:
    bool has_names_for(const LabelsHeader &labels) const {
        return labels.count <= owner_.block_.label_sets[labels.label_set_id].count;
    }

    MetricsText &owner_;
    bool labels_fit_ = true;
};

// See metrics_walk.h; places are offsets in the record section.
class MetricsText::Sink {
  public:
    Sink(MetricsText &owner, bool microseconds, JsonText &text)
        : owner_(owner), block_(owner.block_), microseconds_(microseconds), text_(text) {}

    bool time(std::size_t place) {
        const std::uint64_t timestamp = record_at(place).timestamp;
        text_.key("timestamp");
        text_.number(timestamp);
        const std::string_view time = owner_.time_.of(timestamp, microseconds_);
        if (time.empty()) return true;
        text_.key("@timestamp");
        return text_.string(time);
    }
    bool labels(std::size_t place) {
        std::array<std::byte, 1024> room;  // for most labels; others take memory of their own
        std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
        LabelViews labels(&memory);
        collect_labels(record_at(place), &labels);
        text_.key("labels");
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
    bool metrics(std::size_t place) {
        const RecordView record = record_at(place);
        text_.key("metrics");
        text_.begin_array();
        for (std::size_t i = 0; i < record.num_samples(); ++i) {
            const MetricSample sample = record.sample(i);
            text_.element();
            text_.begin_object();
            text_.key(json_text_of(block_.metric_names[sample.sample_id]));
            // Shown as unsigned, whatever the type of the record.
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

    // Sets labels of a record by the names of its label set. See walk_label_values().
    struct Setter {
        const CntxBlockView &block;
        ByteReader names;
        LabelViews &labels;

        void id(std::size_t index, std::uint8_t id) { text(index, block.label_values[id]); }
        void text(std::size_t, std::string_view text) {
            std::string_view name;
            if (read_string(names, &name)) labels[name] = text;
        }
    };

    RecordView record_at(std::size_t place) const {
        return read_record(block_.records.base.subspan(place), block_.records);
    }
    void collect_labels(const RecordView &record, LabelViews *labels) const {
        owner_.set_constant_labels(labels);
        Setter setter{block_, ByteReader(block_.label_sets[record.labels.label_set_id].names),
                      *labels};
        walk_label_values(record.labels, record.label_values, setter);
    }

    MetricsText &owner_;
    const CntxBlockView &block_;
    bool microseconds_;
    JsonText &text_;
};

void MetricsText::read(Bytes block) {
    block_.read(block);
    read_records();
    read_string_section(block, "CLBL", "clbl", &constants_);
    records_fit_ = records_fit_ && constants_fit();
}

void MetricsText::read_records() {
    value_fits_.fill(Fit::unknown);
    SeenRecords seen;
    bool all_fit = true;
    const std::size_t num_label_sets = block_.num_label_sets;
    scan_records(block_.records, [&](std::size_t offset, const RecordView &record) {
        const bool is_labelled = record.labels.label_set_id < num_label_sets;
        RecordFit fit(*this);
        const std::size_t size = walk_label_values(record.labels, record.label_values, fit);
        seen.add(offset, is_labelled);
        all_fit &= fit.fits(record, is_labelled);
        return size;
    });
    seen_ = seen;
    records_fit_ = all_fit;
}

bool MetricsText::find_value_fit(std::uint8_t id) {
    if (id >= block_.label_values.size()) return false;
    const std::string_view value = block_.label_values[id];
    const bool fits = !value.empty() && is_json_text(value);
    value_fits_[id] = fits ? Fit::yes : Fit::no;
    return fits;
}

bool MetricsText::constants_fit() const {
    for (std::size_t i = 1; i < constants_.size(); i += 2)
        if (!is_json_text(constants_[i])) return false;
    return true;
}

bool MetricsText::write(bool microseconds, JsonText *text) {
    const JsonText::Mark start = text->mark();
    try {
        if ((records_fit_ || check_records()) && write_members(microseconds, text)) return true;
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "failed to JSONify metrics: %s", error.what());
    }
    text->rewind(start);
    return false;
}

bool MetricsText::write_members(bool microseconds, JsonText *text) {
    Sink sink(*this, microseconds, *text);
    text->begin_object();
    const bool done = seen_.walk(sink);
    text->end_object();
    return done;
}

// The look that counts, record by record. False after error lines; throws std::runtime_error.
bool MetricsText::check_records() const {
    CntxBlockTables tables = block_.copy_label_tables();
    set_constant_labels(&tables.constant_labels);
    const RecordCheck check(tables, block_.metric_names.size());
    MetricRecord copy;
    bool all_fit = true;
    scan_records(block_.records, [&](std::size_t, const RecordView &record) {
        const std::size_t size = copy_record(record, &copy);
        all_fit = all_fit && check.fits(copy);
        return size;
    });
    return all_fit;
}

}  // namespace vrn::metrics
