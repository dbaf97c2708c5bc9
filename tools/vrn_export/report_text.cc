#include "vrn_export/report_text.h"

#include <parson.h>

#include <cstdio>

#include "common/json_string.h"
#include "utils/c_ptr.h"

namespace vrn::exporter {
namespace {

using JsonValue = CPtr<JSON_Value, json_value_free>;

std::string seconds_text(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6f", seconds);
    return text;
}

std::string counts_text(const RecordCounts &counts) {
    return "\"records\":{\"events\":" + std::to_string(counts.events) +
           ",\"counters\":" + std::to_string(counts.counters) +
           ",\"samples\":" + std::to_string(counts.samples) +
           ",\"histograms\":" + std::to_string(counts.histograms) +
           "},\"dropped_values\":" + std::to_string(counts.dropped_values) +
           ",\"changed_values\":" + std::to_string(counts.changed_values);
}

std::string faults_text(const FileReport &report) {
    std::string text = "\"num_faults\":" + std::to_string(report.num_faults) + ",\"faults\":[";
    const char *separator = "";
    for (const FoundFault &fault : report.faults) {
        text += separator;
        text += "{\"offset\":" + std::to_string(fault.offset) +
                ",\"length\":" + std::to_string(fault.length) +
                ",\"kind\":" + tool::json_string(fault.kind) +
                ",\"reason\":" + tool::json_string(fault.reason) + "}";
        separator = ",";
    }
    return text + "]";
}

// JSON numbers are held as doubles: exact up to 2^53, far above any file's size.
std::uint64_t number_of(const JSON_Object *object, const char *name) {
    return static_cast<std::uint64_t>(json_object_dotget_number(object, name));
}

const char *text_of(const JSON_Object *object, const char *name) {
    const char *text = json_object_get_string(object, name);
    return text ? text : "";
}

}  // namespace

void RunTotals::add(const FileReport &report) {
    ++files;
    kept += report.is_kept ? 1 : 0;
    not_selected += report.is_selected ? 0 : 1;
    damaged += report.num_faults > 0 ? 1 : 0;
    faults += report.num_faults;
    bytes_in += report.bytes_in;
    bytes_out += report.bytes_out;
    counts += report.counts;
}

std::string report_line(const FileReport &report) {
    std::string line = "{\"file\":" + tool::json_string(report.path);
    if (!report.part.empty()) line += ",\"part\":" + tool::json_string(report.part);
    line += ",\"bytes_in\":" + std::to_string(report.bytes_in) +
            ",\"bytes_out\":" + std::to_string(report.bytes_out) + "," +
            counts_text(report.counts) + ",\"seconds\":" + seconds_text(report.seconds);
    if (!report.is_selected) line += ",\"selected\":false";
    return line + "," + faults_text(report) + "}\n";
}

std::string totals_line(const RunTotals &totals, double seconds, int status) {
    return "{\"files\":" + std::to_string(totals.files) +
           ",\"kept\":" + std::to_string(totals.kept) +
           ",\"not_selected\":" + std::to_string(totals.not_selected) +
           ",\"damaged\":" + std::to_string(totals.damaged) +
           ",\"faults\":" + std::to_string(totals.faults) +
           ",\"bytes_in\":" + std::to_string(totals.bytes_in) +
           ",\"bytes_out\":" + std::to_string(totals.bytes_out) + "," + counts_text(totals.counts) +
           ",\"seconds\":" + seconds_text(seconds) + ",\"status\":" + std::to_string(status) +
           "}\n";
}

bool parse_report_line(const std::string &line, FileReport *report) {
    const JsonValue value(json_parse_string(line.c_str()));
    const JSON_Object *object = value ? json_value_get_object(value.get()) : nullptr;
    if (!object || !json_object_get_string(object, "file")) return false;
    *report = {};
    report->path = text_of(object, "file");
    report->part = text_of(object, "part");
    // The member is there only when it is false; where it is missing this is -1.
    report->is_selected = json_object_get_boolean(object, "selected") != 0;
    report->bytes_in = number_of(object, "bytes_in");
    report->bytes_out = number_of(object, "bytes_out");
    report->seconds = json_object_get_number(object, "seconds");
    report->counts = {.events = number_of(object, "records.events"),
                      .counters = number_of(object, "records.counters"),
                      .samples = number_of(object, "records.samples"),
                      .histograms = number_of(object, "records.histograms"),
                      .dropped_values = number_of(object, "dropped_values"),
                      .changed_values = number_of(object, "changed_values")};
    // The faults themselves aren't needed: lines of kept parts are handed on as they stand.
    report->num_faults = number_of(object, "num_faults");
    return true;
}

}  // namespace vrn::exporter
