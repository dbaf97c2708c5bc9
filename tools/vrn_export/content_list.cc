#include "vrn_export/content_list.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "common/json_string.h"
#include "common/shown_text.h"
#include "common/tool_main.h"
#include "data/schema/type_system.h"
#include "utils/log_capture.h"
#include "vrn_export/format/iso_time.h"
#include "vrn_export/input_feed.h"

namespace vrn::exporter {
namespace {

constexpr std::size_t num_columns = 7;
using Row = std::array<std::string, num_columns>;

template <std::size_t size>
std::string field_text(const char (&field)[size]) {
    return {field, strnlen(field, size)};
}

std::string time_text(std::uint64_t time) {
    if (time == 0) return "-";
    char text[iso_time_size];
    const auto size = static_cast<std::size_t>(write_iso_time(text, time) - text);
    return size == 0 ? std::to_string(time) : std::string(text, size);
}

std::string joined(const std::set<std::string> &names) {
    std::string text;
    for (const std::string &name : names) text += (text.empty() ? "" : ",") + name;
    return text;
}

std::string table_text(const std::vector<Row> &rows) {
    std::array<std::size_t, num_columns> widths{};
    for (const Row &row : rows)
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    std::string text;
    for (const Row &row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            text += row[i] + std::string(widths[i] + 2 - row[i].size(), ' ');
        text += row.back() + "\n";
    }
    return text;
}

}  // namespace

void ContentList::add(const tool::InputFile &file) {
    // Faults tell what is wrong; the log would say it twice.
    const LogCapture log;
    InputFeed feed;
    const bool is_open = feed.open(file.path, schemas_, [&](const FoundFault &fault) {
        has_faults_ = true;
        tool::print_error("vrn_export", file.path + ": " + fault.kind + ": " + fault.reason);
    });
    if (!is_open || !format_.takes_file(feed.header())) return;
    const vrn_data_file_header_t &header = feed.header();
    Content &content = contents_[{field_text(header.source_id), field_text(header.source_tag)}];
    ++content.files;
    content.bytes += file.size;
    // A header that nobody has completed has zeros.
    if (header.first_timestamp != 0 &&
        (content.first_time == 0 || header.first_timestamp < content.first_time))
        content.first_time = header.first_timestamp;
    content.last_time = std::max(content.last_time, header.last_timestamp);
    if (feed.schemas()) add_types(*feed.schemas(), &content.types);
}

void ContentList::add_types(const scan::LoadedSchemas &schemas,
                            std::set<std::string> *types) const {
    if (!schemas.type_system) return;
    for (std::size_t i = 0; i < schemas.type_system->num_schemas; ++i) {
        const vrn_schema_t *schema = schemas.type_system->schemas[i];
        for (std::size_t type = 0; type < schema->num_types; ++type)
            types->insert(schema->types[type]->name);
    }
    if (!schemas.has_counters()) return;
    for (std::size_t i = 0; i < schemas.counters_schema()->num_groups; ++i)
        types->insert(schemas.counters_schema()->groups[i]->name);
}

std::string ContentList::text() const {
    std::vector<Row> rows = {{"SOURCE", "TAG", "FILES", "BYTES", "FIRST", "LAST", "TYPES"}};
    for (const auto &[name, content] : contents_) {
        const auto shown = [](const std::string &text) {
            return text.empty() ? "-" : tool::shown_text(text);
        };
        rows.push_back({shown(name.first), shown(name.second), std::to_string(content.files),
                        std::to_string(content.bytes), time_text(content.first_time),
                        time_text(content.last_time), shown(joined(content.types))});
    }
    return table_text(rows);
}

std::string ContentList::json() const {
    std::string text;
    for (const auto &[name, content] : contents_) {
        text += "{\"source\":" + tool::json_string(name.first) +
                ",\"tag\":" + tool::json_string(name.second) +
                ",\"files\":" + std::to_string(content.files) +
                ",\"bytes\":" + std::to_string(content.bytes) +
                ",\"first_time\":" + std::to_string(content.first_time) +
                ",\"last_time\":" + std::to_string(content.last_time) + ",\"types\":[";
        for (const std::string &type : content.types)
            text += (text.back() == '[' ? "" : ",") + tool::json_string(type);
        text += "]}\n";
    }
    return text;
}

}  // namespace vrn::exporter
