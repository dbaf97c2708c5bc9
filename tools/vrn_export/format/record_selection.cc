#include "vrn_export/format/record_selection.h"

#include <fnmatch.h>

#include <algorithm>
#include <stdexcept>

#include "utils/byte_reader.h"
#include "utils/log_capture.h"

namespace vrn::exporter {
namespace {

// The mark of a `file_size` after which an append is under way.
constexpr std::uint64_t unfinished = std::uint64_t{1} << 63;

// True also without patterns.
bool matches(const std::vector<std::string> &patterns, const std::string &name) {
    return patterns.empty() || std::ranges::any_of(patterns, [&](const std::string &pattern) {
               // Without flags: '*' takes points and slashes too, so "a.*" takes all below `a`.
               return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
           });
}

// `load` fills a set and logs why it can't.
template <typename Load>
void load_set(const std::string &path, Load load) {
    LogCapture log;
    if (load(path.c_str())) return;
    const std::vector<LogLine> lines = log.take();
    throw std::runtime_error(path + " is no usable set file" +
                             (lines.empty() ? "" : ": " + lines.back().text));
}

}  // namespace

RecordSelection::RecordSelection(SelectionOptions options) : options_(std::move(options)) {
    if (!options_.field_set_file.empty())
        load_set(options_.field_set_file, [this](const char *path) {
            field_set_.reset(vrn_provider_field_set_create());
            return field_set_ && vrn_provider_field_set_init_from_file(field_set_.get(), path);
        });
    if (!options_.counter_set_file.empty())
        load_set(options_.counter_set_file, [this](const char *path) {
            counter_set_.reset(vrn_provider_counter_set_create());
            return counter_set_ &&
                   vrn_provider_counter_set_init_from_file(counter_set_.get(), path);
        });
    const bool selects_events = !options_.types.empty() || !options_.fields.empty() || field_set_;
    const bool selects_counters = !options_.counters.empty() || counter_set_;
    const bool selects_metrics = !options_.metrics.empty();
    // Who names records of one kind wants none of the others.
    if (!selects_events && !selects_counters && !selects_metrics) return;
    takes_events_ = selects_events;
    takes_counters_ = selects_counters;
    takes_metrics_ = selects_metrics;
}

bool RecordSelection::takes_type(const char *name) const {
    if (field_set_ && !vrn_provider_field_set_is_type_of_interest(field_set_.get(), name))
        return false;
    return matches(options_.types, name);
}

bool RecordSelection::set_takes_field(const vrn_type_definition_t &type, const char *field,
                                      bool is_top) const {
    if (!field_set_) return true;
    // A nested type that no section names comes with the field that it is the type of.
    if (!is_top && !vrn_provider_field_set_is_type_of_interest(field_set_.get(), type.name))
        return true;
    return vrn_provider_field_set_should_include_field(field_set_.get(), type.name, field);
}

bool RecordSelection::takes_field_path(const std::string &path) const {
    return matches(options_.fields, path);
}

bool RecordSelection::takes_counter(const std::string &group, const char *name) const {
    if (counter_set_ && !vrn_provider_counter_set_should_include_counter(counter_set_.get(), name))
        return false;
    return matches(options_.counters, name) || matches(options_.counters, group + "." + name);
}

bool RecordSelection::takes_metric(std::string_view name) const {
    return matches(options_.metrics, std::string(name));
}

bool RecordSelection::takes_origin(std::string_view source, std::string_view tag) const {
    return (options_.sources.empty() || matches(options_.sources, std::string(source))) &&
           (options_.tags.empty() || matches(options_.tags, std::string(tag)));
}

bool RecordSelection::takes_all_times() const {
    return options_.since == 0 && options_.until == max_time;
}

bool RecordSelection::takes_times(std::uint64_t first, std::uint64_t last) const {
    // Times that are missing or make no sense leave out nothing.
    if (first == 0 || last == 0 || first > last) return true;
    return last >= options_.since && is_before_until(first);
}

bool RecordSelection::takes_file(const vrn_data_file_header_t &header) const {
    if (!takes_origin(field_text(header.source_id), field_text(header.source_tag))) return false;
    // Blocks that an unfinished append has left may be younger than the header.
    if ((header.file_size & unfinished) != 0) return true;
    return takes_times(header.first_timestamp, header.last_timestamp);
}

}  // namespace vrn::exporter
