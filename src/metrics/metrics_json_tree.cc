#include "metrics/metrics_json_tree.h"

#include <stdexcept>
#include <utility>

#include "data/text/local_time_text.h"
#include "metrics/json_fit.h"
#include "metrics/labels_block.h"
#include "metrics/printed_records.h"
#include "utils/c_ptr.h"
#include "utils/log.h"

namespace vrn::metrics {
namespace {

using JsonValue = CPtr<JSON_Value, json_value_free>;
using Names = std::vector<std::string>;

// False, after an error line.
bool fail(const char *message) {
    VRN_LOG(VRN_LOG_ERROR, "%s", message);
    return false;
}

// False, with `value` freed, when it can't be appended.
bool append(const JsonValue &array, JsonValue value) {
    if (json_array_append_value(json_value_get_array(array.get()), value.get()) != JSONSuccess)
        return false;
    static_cast<void>(value.release());  // to the array
    return true;
}

bool set(JSON_Object *object, const char *name, JsonValue value) {
    if (json_object_set_value(object, name, value.get()) != JSONSuccess) return false;
    static_cast<void>(value.release());  // to the object
    return true;
}

// Null when `value` is.
// Labels and metrics may have one name several times, which a single object couldn't hold.
JsonValue object_of_one(const std::string &name, JsonValue value) {
    JsonValue object(json_value_init_object());
    if (!object || !set(json_value_get_object(object.get()), name.c_str(), std::move(value)))
        return nullptr;
    return object;
}

JsonValue text_value(const std::string &text) {
    return JsonValue(json_value_init_string(text.c_str()));
}

// False after an error line.
bool set_labels(JSON_Object *root, const LabelMap &labels) {
    JsonValue array(labels_to_json_array(labels));
    if (!array) return fail("Failed allocating JSON object");
    if (!set(root, "labels", std::move(array))) return fail("Failed to set labels JSON value");
    return true;
}

// All values are shown as unsigned, whatever the type of the record. False after an error line.
bool set_metrics(JSON_Object *root, const MetricsBatch &batch, const Names &metric_names) {
    JsonValue array(json_value_init_array());
    if (!array) return fail("Failed allocating JSON object");
    for (const MetricSample sample : batch.samples) {
        JsonValue number(json_value_init_number(static_cast<double>(sample.sample_value)));
        JsonValue metric = object_of_one(metric_names[sample.sample_id], std::move(number));
        if (!metric) return fail("Failed allocating JSON object");
        if (!append(array, std::move(metric))) return fail("Failed to append metric to JSON array");
    }
    if (!set(root, "metrics", std::move(array))) return fail("Failed to set metrics JSON value");
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
JsonValue build_tree(const CntxBlockTables &tables, const std::vector<MetricRecord> &records,
                     bool microseconds) {
    JsonValue root(json_value_init_object());
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
    JsonValue array(json_value_init_array());
    if (!array) return nullptr;
    for (const auto &[name, value] : labels) {
        JsonValue label = object_of_one(name, text_value(value));
        if (!label) {
            VRN_LOG(VRN_LOG_ERROR, "Failed allocating JSON object");
            return nullptr;
        }
        if (!append(array, std::move(label))) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to append label to JSON array");
            return nullptr;
        }
    }
    return array.release();  // to the caller
}

}  // namespace vrn::metrics
