#include "vrn_export/report_text.h"

#include <cstdio>

#include "common/json_string.h"
#include "vrn_export/json_line.h"

namespace vrn::exporter {
namespace {

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
    if (report.needs_retry) line += ",\"retry\":true";
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
    const JsonLine json(line);
    if (!json.has_text("file")) return false;
    *report = {};
    report->path = json.text("file");
    report->part = json.text("part");
    report->is_selected = json.flag("selected", true);
    report->needs_retry = json.flag("retry", false);
    report->bytes_in = json.integer("bytes_in");
    report->bytes_out = json.integer("bytes_out");
    report->seconds = json.number("seconds");
    report->counts = {.events = json.integer("records.events"),
                      .counters = json.integer("records.counters"),
                      .samples = json.integer("records.samples"),
                      .histograms = json.integer("records.histograms"),
                      .dropped_values = json.integer("dropped_values"),
                      .changed_values = json.integer("changed_values")};
    report->num_faults = json.integer("num_faults");
    for (const JsonObject &fault : json.objects("faults"))
        report->faults.push_back({.offset = fault.integer("offset"),
                                  .length = fault.integer("length"),
                                  .kind = fault.text("kind"),
                                  .reason = fault.text("reason")});
    return true;
}

bool is_totals_line(const std::string &line) {
    const JsonLine json(line);
    return json.has_number("files") && json.has_number("status");
}

}  // namespace vrn::exporter
