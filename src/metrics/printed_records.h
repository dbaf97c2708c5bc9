// Which records of a CNTX block its JSON shows, for sinks that make a tree or text of them. Each
// record sets "timestamp", "@timestamp", "labels" and "metrics" on the block's one object; one with
// an unknown label set leaves "labels" as it is. So a key stands where it was set first and has the
// value that was set last: at most two records of a block are seen. A Sink has
//   bool time(const Record &), bool labels(const Record &), bool metrics(const Record &).
// False ends the walk.
#pragma once

namespace vrn::metrics {

// Of records added in order; `Record` is cheap to copy.
template <typename Record>
class PrintedRecords {
  public:
    void add(const Record &record, bool has_known_labels) {
        if (!has_records_) labels_come_first_ = has_known_labels;
        if (last_has_labels_ && !has_known_labels) {
            has_earlier_labels_ = true;
            earlier_labelled_ = last_;
        }
        has_records_ = true;
        last_ = record;
        last_has_labels_ = has_known_labels;
    }

    // The members of the block's object.
    template <typename Sink>
    [[nodiscard]] bool walk(Sink &sink) const {
        if (!has_records_) return true;
        const Record &labelled = last_has_labels_ ? last_ : earlier_labelled_;
        const bool labels_come_last =
            !labels_come_first_ && (last_has_labels_ || has_earlier_labels_);
        return sink.time(last_) && (!labels_come_first_ || sink.labels(labelled)) &&
               sink.metrics(last_) && (!labels_come_last || sink.labels(labelled));
    }

  private:
    bool has_records_ = false;
    bool labels_come_first_ = false;  // before "metrics"
    bool last_has_labels_ = false;
    bool has_earlier_labels_ = false;
    Record last_{};
    Record earlier_labelled_{};  // the last one with known labels, unless it is `last_`
};

}  // namespace vrn::metrics
