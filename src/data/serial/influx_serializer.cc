#include "data/serial/influx_serializer.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "counters/counter_row.h"
#include "data/block.h"
#include "data/schema/event_rows.h"
#include "data/serial/influx_event.h"
#include "data/serial/influx_text.h"
#include "utils/log.h"

namespace vrn::data {

namespace {

constexpr char too_long[] = "the fields of an event take too much memory";

// Walks the blocks of one page. What lies beyond its bytes reads as zeros.
class PageWalk {
  public:
    PageWalk(const InfluxSerializer &serializer, const Tags &tags, Bytes page,
             const vrn_type_system_t *type_system)
        : serializer_(serializer),
          tags_(tags),
          page_(page),
          row_(page),
          header_(row_.read<vrn_data_page_t>(0)),
          end_(std::min<std::uint64_t>({header_.filled_bytes, header_.page_size, page.size()})),
          type_system_(type_system),
          room_(influx_text_limit(page.size())) {}

    std::vector<std::string> lines() && {
        std::uint64_t offset = VRN_DATA_PAGE_HEADER_SIZE;
        while (offset < end_ && !is_full_) {
            // A block may claim to be longer than the page: the walk then ends.
            const std::uint64_t advance = handle_block(offset);
            if (advance == 0) break;  // nothing tells where the next block begins
            offset += advance;
        }
        return std::move(lines_);
    }

  private:
    // Bytes that the block takes; 0 when that can't be told.
    std::uint64_t handle_block(std::uint64_t offset) {
        const auto header = row_.read<vrn_block_header_t>(offset);
        switch (vrn_block_type_of(&header)) {
            case VRN_COUNTERS_BLOCK:
                return handle_counters(offset);
            case VRN_EVENTS_BLOCK:
                return handle_events(offset);
            case VRN_SCHEMAS_BLOCK:
                return row_.read<vrn_schemas_block_t>(offset).size;
            default:
                return 1;  // padding
        }
    }

    std::uint64_t handle_counters(std::uint64_t offset) {
        const vrn_counters_schema_t *schema = type_system_->counters_schema;
        // Rows of unknown length: their bytes are looked through for the next block.
        if (!schema) return sizeof(vrn_data_block_t);
        if (!counters_lines_) counters_lines_ = prepare_lines(schema);
        for (const InfluxCountersLine &line : *counters_lines_) {
            line.write(page_.subspan(offset), room_, &text_);
            if (!take_line()) break;
        }
        return sizeof(vrn_data_block_t) + std::uint64_t{schema->size};
    }

    std::vector<InfluxCountersLine> prepare_lines(const vrn_counters_schema_t *schema) const {
        std::vector<InfluxCountersLine> lines;
        for (const auto &record : serializer_.counters_records(tags_, header_, schema))
            if (!record.fields.empty()) lines.push_back(serializer_.prepare_line(record));
        return lines;
    }

    std::uint64_t handle_events(std::uint64_t offset) {
        const auto header = row_.read<vrn_event_header_t>(offset);
        const vrn_type_definition_t *type =
            vrn_type_system_find_type(type_system_, header.schema_index, header.type_index);
        if (!type) return 0;
        const std::string start = serializer_.line_start(type->name, tags_);
        // Rows that the page cuts off are left out, with no fault.
        const std::size_t count =
            count_event_rows(*type, header, page_.subspan(offset, end_ - offset));
        std::uint64_t place = offset + sizeof header;
        for (std::size_t i = 0; i < count; ++i) {
            if (!influx_write_event_line(start, type, page_.data() + place, header.timestamp, room_,
                                         &text_))
                return refuse_lines();
            if (!take_line()) break;
            place += type->size;
        }
        return place - offset;
    }

    // Ends the walk.
    std::uint64_t refuse_lines() {
        VRN_LOG(VRN_LOG_ERROR, "Lines of a data page of %zu bytes take too much memory",
                page_.size());
        is_full_ = true;
        return 0;
    }

    // Moves the text to the lines. False when there is no room for it.
    bool take_line() {
        const std::string_view line = text_.view();
        if (line.size() > room_) return refuse_lines() != 0;
        room_ -= line.size();
        lines_.emplace_back(line);
        text_.clear();
        return true;
    }

    const InfluxSerializer &serializer_;
    const Tags &tags_;
    Bytes page_;
    CounterRow row_;
    vrn_data_page_t header_;
    std::uint64_t end_;
    const vrn_type_system_t *type_system_;
    std::uint64_t room_;  // bytes of text left
    bool is_full_ = false;
    // All rows of a page have these in common; made at the first row.
    std::optional<std::vector<InfluxCountersLine>> counters_lines_;
    TextBuffer text_;  // of the line being made
    std::vector<std::string> lines_;
};

}  // namespace

InfluxSerializer::InfluxSerializer()
    : measurement_escapes_{" ", "=", ","}, tag_escapes_{" ", ","}, string_value_escapes_{"\""} {}

std::vector<std::string> InfluxSerializer::serialize(const Tags &tags, const vrn_data_page_t *page,
                                                     const vrn_type_system_t *type_system) const {
    return serialize_bytes(tags, {reinterpret_cast<const std::uint8_t *>(page), page->page_size},
                           type_system);
}

std::vector<std::string> InfluxSerializer::serialize_bytes(
    const Tags &tags, Bytes page, const vrn_type_system_t *type_system) const {
    return PageWalk(*this, tags, page, type_system).lines();
}

std::string InfluxSerializer::line_start(std::string_view measurement, const Tags &tags) const {
    std::string start = influx_escape(measurement, measurement_escapes_);
    for (const auto &[key, value] : tags)
        start.append(1, ',')
            .append(influx_escape(key, tag_escapes_))
            .append(1, '=')
            .append(influx_escape(value, tag_escapes_));
    return start;
}

std::string InfluxSerializer::event_fields(const vrn_type_definition_t *type,
                                           const void *record) const {
    TextBuffer text;
    if (!vrn_influx_write_event(type, record, &text)) throw std::length_error(too_long);
    return std::string(text.view());
}

std::string InfluxSerializer::event_line(const Tags &tags, const vrn_type_definition_t *type,
                                         const void *record, std::uint64_t timestamp) const {
    TextBuffer text;
    if (!influx_write_event_line(line_start(type->name, tags), type, record, timestamp,
                                 influx_text_limit(type->size), &text))
        throw std::length_error(too_long);
    return std::string(text.view());
}

std::vector<vrn_influx_line_record_t> InfluxSerializer::counters_records(
    const Tags &tags, const vrn_data_page_t &page, const vrn_counters_schema_t *schema) const {
    return influx_counters_records(tags, page, schema);
}

InfluxCountersLine InfluxSerializer::prepare_line(const vrn_influx_line_record_t &record) const {
    InfluxCountersLine line(line_start(record.measurement, record.tags));
    for (const vrn_influx_field_t &field : record.fields)
        line.add_field(influx_escape(field.key, tag_escapes_), field.slot, field.counter);
    return line;
}

// No bound: one line of a row that the caller holds can only be as long as its schema makes it.
std::string InfluxSerializer::counters_record_line(const vrn_influx_line_record_t &record,
                                                   Bytes block) const {
    TextBuffer text;
    prepare_line(record).write(block, UINT64_MAX, &text);
    return std::string(text.view());
}

std::string InfluxSerializer::counter_value_text(Bytes data,
                                                 const vrn_counter_info_t *counter) const {
    TextBuffer text;
    influx_write_counter(data, *counter, &text);
    return std::string(text.view());
}

std::vector<std::string> InfluxSerializer::group_lines(const Tags &tags,
                                                       const vrn_counter_group_t *group,
                                                       Bytes block) const {
    // An empty measurement would be no line.
    const bool is_named = group->name && *group->name != '\0';
    vrn_influx_line_record_t record = {.measurement = is_named ? group->name : "counters",
                                       .tags = tags,
                                       .prefix = "",
                                       .fields = {}};
    std::vector<std::string> lines;
    if (group->num_counters == 0) return lines;
    const char *granularity = vrn_counter_group_granularity_name(group);
    std::uint64_t room = influx_text_limit(block.size());
    for (std::uint64_t set = 0; set < group->num_counter_sets; ++set) {
        // Without this tag the lines of the sets would be the same point to the database.
        if (group->num_counter_sets > 1) record.tags[granularity] = std::to_string(set);
        record.fields.clear();
        for (std::uint64_t i = 0; i < group->num_counters; ++i)
            record.fields.push_back({.key = group->counters[i]->name,
                                     .slot = set * group->num_counters + i,
                                     .counter = group->counters[i]});
        TextBuffer text;
        prepare_line(record).write(block, room, &text);
        if (text.size() > room) {
            VRN_LOG(VRN_LOG_ERROR, "Lines of a counter group take too much memory");
            break;
        }
        room -= text.size();
        lines.emplace_back(text.view());
    }
    return lines;
}

}  // namespace vrn::data

char *vrn_influx_serialize_event(const vrn_type_definition_t *type, const void *record) {
    vrn::TextBuffer text;
    if (!vrn_influx_write_event(type, record, &text)) return nullptr;
    text.append('\0');
    return strdup(text.view().data());
}
