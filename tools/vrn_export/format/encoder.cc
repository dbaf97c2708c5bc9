#include "vrn_export/format/encoder.h"

#include <algorithm>

namespace vrn::exporter {

RecordCounts &RecordCounts::operator+=(const RecordCounts &other) {
    events += other.events;
    counters += other.counters;
    samples += other.samples;
    histograms += other.histograms;
    dropped_values += other.dropped_values;
    changed_values += other.changed_values;
    return *this;
}

void Encoded::clear() {
    for (Table &table : tables) {
        table.text.clear();
        // Their memory serves the tables of the next run, whatever those are.
        spare_.push_back(std::move(table.text));
    }
    tables.clear();
    counts = {};
    faults.clear();
}

std::size_t Encoded::find_table(const std::string &name) {
    // Searched in turn: each writer asks only once a run.
    const auto found = std::ranges::find(tables, name, &Table::name);
    if (found != tables.end()) return static_cast<std::size_t>(found - tables.begin());
    Table table{name, {}};
    if (!spare_.empty()) {
        table.text = std::move(spare_.back());
        spare_.pop_back();
    }
    tables.push_back(std::move(table));
    return tables.size() - 1;
}

namespace {

// What lies at the schema and not at the place.
bool is_of_schema(std::string_view kind) {
    return kind == "schema_none" || kind == "schema_missing" || kind == "schema_bad" ||
           kind == "type_unknown" || kind == "type_too_wide" || kind == "text_limit";
}

}  // namespace

bool lies_outside_file(const FoundFault &fault) {
    const std::string_view kind = fault.kind;
    return kind == "read_failed" || kind == "no_memory" || kind == "unreadable" ||
           kind == "schema_missing" || kind == "schema_bad";
}

void append_fault(FoundFault fault, std::vector<FoundFault> *faults) {
    if (!faults->empty() && is_of_schema(fault.kind) && faults->back().kind == fault.kind &&
        faults->back().reason == fault.reason)
        faults->back().length += fault.length;
    else
        faults->push_back(std::move(fault));
}

}  // namespace vrn::exporter
