#include "metrics/metrics_json.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <unordered_map>

#include "data/value_format.h"
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
JsonValue object_of_one(const std::string &name, JsonValue value) {
    JsonValue object(json_value_init_object());
    if (!object || !set(json_value_get_object(object.get()), name.c_str(), std::move(value)))
        return nullptr;
    return object;
}

JsonValue text_value(const std::string &text) {
    return JsonValue(json_value_init_string(text.c_str()));
}

// JSON takes no text but UTF-8.
bool is_json_text(const std::string &text) {
    const bool ascii =
        std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return ascii || text_value(text);
}

// Names of the constant labels that fail each record that doesn't overwrite them.
Names unfit_constants(const LabelMap &constant_labels) {
    Names unfit;
    for (const auto &[name, value] : constant_labels)
        if (!is_json_text(value)) unfit.push_back(name);
    return unfit;
}

// True when the labels of a record can't become JSON: the outcome of building them, at a cost that
// doesn't grow with the number of constant labels.
bool labels_are_unfit(const Names &names, const Names &values, const Names &unfit_constants) {
    std::unordered_map<std::string_view, bool> fit;
    for (std::size_t i = 0; i < values.size(); ++i) fit[names[i]] = is_json_text(values[i]);
    const auto overwritten = [&](const std::string &name) { return fit.contains(name); };
    return !std::ranges::all_of(fit, [](const auto &label) { return label.second; }) ||
           !std::ranges::all_of(unfit_constants, overwritten);
}

void require_sample_ids(const MetricsBatch &batch, const Names &metric_names) {
    for (const MetricSample sample : batch.samples)
        if (sample.sample_id >= metric_names.size()) throw std::runtime_error("invalid metric id");
}

void set_time(JSON_Object *root, std::uint64_t timestamp, bool microseconds) {
    json_object_set_number(root, "timestamp", static_cast<double>(timestamp));
    const CString text(vrn_format_timestamp(timestamp, microseconds));
    if (text) json_object_set_string(root, "@timestamp", text.get());
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

// Index of the last record with a known label set; the number of records when there is none.
std::size_t last_labelled(const CntxBlockTables &tables, const std::vector<MetricRecord> &records) {
    for (std::size_t i = records.size(); i > 0; --i)
        if (tables.label_names.contains(records[i - 1].label_set_id)) return i - 1;
    return records.size();
}

// The object of a whole block. Of the keys that the records set one after the other only the last
// ones are seen, so three records are built: the first, as it fixes the order of the keys, the last
// with a known label set, and the last. The others are only checked for what fails the block.
class BlockJson {
  public:
    BlockJson(const CntxBlockTables &tables, bool microseconds)
        : tables_(tables),
          microseconds_(microseconds),
          unfit_constants_(unfit_constants(tables.constant_labels)) {}

    // Null after an error line; throws std::runtime_error.
    JsonValue build(const std::vector<MetricRecord> &records) const {
        JsonValue root(json_value_init_object());
        if (!root) return nullptr;
        JSON_Object *object = json_value_get_object(root.get());
        const std::size_t labels_seen = last_labelled(tables_, records);
        for (std::size_t i = 0; i < records.size(); ++i) {
            const bool seen = i == 0 || i + 1 == records.size();
            if (seen) set_time(object, records[i].timestamp, microseconds_);
            if (!add_labels(object, records[i], i == 0 || i == labels_seen)) return nullptr;
            require_sample_ids(records[i].samples, tables_.metric_names);
            if (seen && !set_metrics(object, records[i].samples, tables_.metric_names))
                return nullptr;
        }
        return root;
    }

  private:
    bool add_labels(JSON_Object *object, const MetricRecord &record, bool seen) const {
        const auto names = tables_.label_names.find(record.label_set_id);
        if (names == tables_.label_names.end()) return true;
        const Names values = decode_label_values(record.encoded_labels, tables_.label_values);
        require_names_for(values, names->second);
        if (!seen && !labels_are_unfit(names->second, values, unfit_constants_)) return true;
        return set_labels(object, resolve_labels(tables_, record.label_set_id, values));
    }

    const CntxBlockTables &tables_;
    bool microseconds_;
    Names unfit_constants_;
};

}  // namespace

JSON_Value *metrics_to_json(const CntxBlockTables &tables, const std::vector<MetricRecord> &records,
                            bool microsecond_precision) {
    try {
        return BlockJson(tables, microsecond_precision).build(records).release();  // to the caller
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
