#include "metrics/metrics_json_tree.h"

#include <stdexcept>
#include <utility>

#include "data/text/json_value.h"
#include "data/text/local_time_text.h"
#include "metrics/json_fit.h"
#include "metrics/labels_block.h"
#include "metrics/printed_records.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

using Names = std::vector<std::string>;

// False, after an error line.
bool fail(const char *message) {
    VRN_LOG(VRN_LOG_ERROR, "%s", message);
    return false;
}

// Null when `value` is.
// Labels and metrics may have one name several times, which a single object couldn't hold.
vrn_json_value_ptr object_of_one(const std::string &name, vrn_json_value_ptr value) {
    vrn_json_value_ptr object(json_value_init_object());
    if (!object ||
        !vrn_json_set(json_value_get_object(object.get()), name.c_str(), std::move(value)))
        return nullptr;
    return object;
}

vrn_json_value_ptr text_value(const std::string &text) {
    return vrn_json_value_ptr(json_value_init_string(text.c_str()));
}

// False after an error line.
bool set_labels(JSON_Object *root, const LabelMap &labels) {
    vrn_json_value_ptr array(labels_to_json_array(labels));
    if (!array) return fail("Failed allocating JSON object");
    if (!vrn_json_set(root, "labels", std::move(array)))
        return fail("Failed to set labels JSON value");
    return true;
}

// All values are shown as unsigned, whatever the type of the record. False after an error line.
bool set_metrics(JSON_Object *root, const MetricsBatch &batch, const Names &metric_names) {
    vrn_json_value_ptr array(json_value_init_array());
    if (!array) return fail("Failed allocating JSON object");
    for (const MetricSample sample : batch.samples) {
        vrn_json_value_ptr number(json_value_init_number(static_cast<double>(sample.sample_value)));
        vrn_json_value_ptr metric =
            object_of_one(metric_names[sample.sample_id], std::move(number));
        if (!metric) return fail("Failed allocating JSON object");
        if (!vrn_json_append(json_array(array.get()), std::move(metric)))
            return fail("Failed to append metric to JSON array");
    }
    if (!vrn_json_set(root, "metrics", std::move(array)))
        return fail("Failed to set metrics JSON value");
    return true;
}

// See printed_records.h.
class TreeSink {
  public:
    TreeSink(JSON_Object *root, const CntxBlockTables &tables, bool microseconds)
        : root_(root), tables_(tables), microseconds_(microseconds) {}

    bool time(const MetricRecord *record) {
        json_object_set_number(root_, "timestamp", static_cast<double>(record->timestamp));
        // A time past the calendar has no text; the number stands alone then.
        const CString text(vrn_format_timestamp(record->timestamp, microseconds_));
        if (text) json_object_set_string(root_, "@timestamp", text.get());
        return true;
    }
    bool labels(const MetricRecord *record) {
        const Names values = decode_label_values(record->encoded_labels, tables_.label_values);
        return set_labels(root_, resolve_labels(tables_, record->label_set_id, values));
    }
    bool metrics(const MetricRecord *record) {
        return set_metrics(root_, record->samples, tables_.metric_names);
    }

  private:
    JSON_Object *root_;
    const CntxBlockTables &tables_;
    bool microseconds_;
};

// Null after an error line; throws std::runtime_error.
vrn_json_value_ptr build_tree(const CntxBlockTables &tables,
                              const std::vector<MetricRecord> &records, bool microseconds) {
    vrn_json_value_ptr root(json_value_init_object());
    if (!root) return nullptr;
    const JsonFit fit(tables, tables.metric_names.size());
    PrintedRecords<const MetricRecord *> printed;
    for (const MetricRecord &record : records) {
        // Each record must fit, also one that a later record covers: the block fails in the same
        // way wherever the fault stands.
        if (!fit.fits(record)) return nullptr;
        printed.add(&record, tables.label_names.contains(record.label_set_id));
    }
    TreeSink sink(json_value_get_object(root.get()), tables, microseconds);
    return printed.walk(sink) ? std::move(root) : nullptr;
}

}  // namespace

JSON_Value *metrics_to_json(const CntxBlockTables &tables, const std::vector<MetricRecord> &records,
                            bool microsecond_precision) {
    try {
        return build_tree(tables, records, microsecond_precision).release();  // to the caller
    } catch (const std::exception &error) {
        VRN_LOG(VRN_LOG_ERROR, "failed to JSONify metrics: %s", error.what());
        return nullptr;
    }
}

JSON_Value *labels_to_json_array(const LabelMap &labels) {
    vrn_json_value_ptr array(json_value_init_array());
    if (!array) return nullptr;
    for (const auto &[name, value] : labels) {
        vrn_json_value_ptr label = object_of_one(name, text_value(value));
        if (!label) {
            VRN_LOG(VRN_LOG_ERROR, "Failed allocating JSON object");
            return nullptr;
        }
        if (!vrn_json_append(json_array(array.get()), std::move(label))) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to append label to JSON array");
            return nullptr;
        }
    }
    return array.release();  // to the caller
}

}  // namespace vrn::metrics
