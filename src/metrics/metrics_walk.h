// The walk over what is seen of a CNTX block, for sinks that make a JSON tree or JSON text of it.
// Each record sets "timestamp", "@timestamp", "labels" and "metrics" on the block's one object; one
// with an unknown label set leaves "labels" as it is. So a key stands where it was set first and
// has the value that was set last. Records are told by their places: whatever numbers the caller
// finds them by. A Sink has
//   bool time(std::size_t place), bool labels(std::size_t place), bool metrics(std::size_t place).
// False ends the walk.
#pragma once

#include <cstddef>

namespace vrn::metrics {

// Of records added in order.
class SeenRecords {
  public:
    void add(std::size_t place, bool has_known_labels) {
        if (!has_records_) labels_come_first_ = has_known_labels;
        has_records_ = true;
        last_ = place;
        if (!has_known_labels) return;
        has_labels_ = true;
        last_labelled_ = place;
    }

    // The members of the block's object.
    template <typename Sink>
    bool walk(Sink &sink) const {
        if (!has_records_) return true;
        const bool labels_come_last = has_labels_ && !labels_come_first_;
        return sink.time(last_) && (!labels_come_first_ || sink.labels(last_labelled_)) &&
               sink.metrics(last_) && (!labels_come_last || sink.labels(last_labelled_));
    }

  private:
    bool has_records_ = false;
    bool has_labels_ = false;
    bool labels_come_first_ = false;  // before "metrics"
    std::size_t last_ = 0;
    std::size_t last_labelled_ = 0;
};

}  // namespace vrn::metrics
