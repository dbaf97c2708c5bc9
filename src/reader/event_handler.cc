#include "reader/event_handler.h"

#include <algorithm>
#include <cstdio>

#include "data/block.h"
#include "data/selection/name_filter.h"
#include "data/serial/event_text.h"
#include "data/serial/influx_event.h"
#include "reader/record_text.h"
#include "reader/schema_load.h"
#include "utils/byte_reader.h"
#include "utils/log.h"

namespace {

constexpr std::size_t event_header_size = sizeof(vrn_event_header_t);

const std::uint8_t *bytes_at(const void *block, std::size_t offset) {
    return static_cast<const std::uint8_t *>(block) + offset;
}

bool matches(const vrn_reader_options_t *options, const vrn_type_definition_t *type) {
    return vrn_string_array_match(type->name, options->include_counters, VRN_MATCH_WILDCARD) &&
           !vrn_string_array_match(type->name, options->exclude_counters, VRN_MATCH_WILDCARD);
}

// The patterns are matched once for all blocks of a type.
bool is_selected(vrn_reader_t *reader, const vrn_event_header_t &header,
                 const vrn_type_definition_t *type) {
    vrn_type_selection_t *selection =
        &reader->loaded
             .selection[header.schema_index][static_cast<std::uint8_t>(header.type_index)];
    if (*selection == VRN_SELECTION_UNKNOWN)
        *selection = matches(reader->options, type) ? VRN_SELECTION_TAKEN : VRN_SELECTION_LEFT_OUT;
    return *selection == VRN_SELECTION_TAKEN;
}

bool print_events(vrn_reader_t *reader, const vrn_type_definition_t *type, const void *rows,
                  std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (vrn_reader_print_event(reader, type, bytes_at(rows, i * type->size))) continue;
        VRN_LOG(VRN_LOG_ERROR, "Failed to print");
        return false;
    }
    return true;
}

// Reloads the type system that a schemas block names. Returns the bytes it takes, 0 on failure.
std::size_t handle_schemas_block(vrn_reader_t *reader, const void *block, std::size_t remaining) {
    if (remaining < VRN_SCHEMAS_BLOCK_MIN_BYTES) return 0;
    const auto header = vrn::load_le<vrn_schemas_block_t>(block);
    if (remaining < header.size || header.num_schema_ids > VRN_SCHEMAS_BLOCK_MAX_IDS) return 0;
    vrn_schema_id_t ids[VRN_SCHEMAS_BLOCK_MAX_IDS];
    std::copy_n(bytes_at(block, sizeof header), sizeof ids, &ids[0].bytes[0]);
    if (!vrn_reader_load_type_system(reader, ids, header.num_schema_ids)) return 0;
    return header.size;
}

bool print_event_json(vrn_reader_t *reader, const vrn_type_definition_t *type, const void *data) {
    const auto write = [&](vrn::JsonText *text) { return vrn_event_write_json(type, data, text); };
    if (vrn_reader_add_record(reader, write)) return true;
    vrn_reader_fail(reader, "Failed to JSONify event values");
    return false;
}

bool print_event_influx(vrn_reader_t *reader, const vrn_type_definition_t *type, const void *data) {
    const auto write = [&](vrn::TextBuffer *text) {
        if (!vrn_influx_write_event(type, data, text)) return false;
        text->append('\n');
        return true;
    };
    if (vrn_reader_add_text(reader, write)) return true;
    vrn_reader_fail(reader, "Failed to serialize event data to Influx line API format");
    return false;
}

bool print_event_as_asked(vrn_reader_t *reader, const vrn_type_definition_t *type,
                          const void *data) {
    switch (reader->options->format) {
        case VRN_FORMAT_JSON:
        case VRN_FORMAT_NDJSON:
            return print_event_json(reader, type, data);
        case VRN_FORMAT_CSV:
            vrn_reader_fail(reader, "CSV output is not supported yet");
            return true;
        case VRN_FORMAT_TXT:
            vrn_reader_fail(reader, "Text output is not yet supported for counters data");
            return true;
        case VRN_FORMAT_INFLUX:
            return print_event_influx(reader, type, data);
        default:
            vrn_reader_fail(reader, "Unknown output format %d",
                            static_cast<int>(reader->options->format));
            return false;
    }
}

}  // namespace

bool vrn_reader_walk_event_blocks(vrn_reader_t *reader, const void *block, std::size_t size) {
    constexpr std::size_t magic_size = 4;
    std::size_t offset = 0;
    while (offset + magic_size < size) {
        const void *current = bytes_at(block, offset);
        const vrn_block_type_t kind = vrn_block_type_of(current);
        std::size_t advance = 0;
        if (kind == VRN_SCHEMAS_BLOCK) {
            advance = handle_schemas_block(reader, current, size - offset);
        } else if (kind == VRN_EVENTS_BLOCK) {
            advance = vrn_reader_handle_events_block(reader, current, size - offset);
        } else {
            VRN_LOG(VRN_LOG_DEBUG, "Unexpected block type %d at offset %zu", static_cast<int>(kind),
                    offset);
            return true;  // padding ends the run
        }
        if (advance == 0) {
            VRN_LOG(VRN_LOG_ERROR, "Failed to process block of type %d at offset %zu",
                    static_cast<int>(kind), offset);
            return false;
        }
        offset += advance;
    }
    return true;
}

std::size_t vrn_reader_handle_events_block(vrn_reader_t *reader, const void *block,
                                           std::size_t remaining) {
    const auto header = vrn::load_le<vrn_event_header_t>(block);
    if (reader->options->print_page_info) {
        vrn_reader_flush_text(reader);
        vrn_event_header_print(stdout, &header);
    }
    const vrn_type_definition_t *type =
        vrn_type_system_find_type(reader->type_system, header.schema_index, header.type_index);
    if (!type) {
        VRN_LOG(VRN_LOG_ERROR, "Type definition %u:%u not found", header.schema_index,
                header.type_index & 0xFFU);
        return 0;
    }
    if (header.num_events == 0 || remaining < event_header_size ||
        type->size > remaining - event_header_size)
        return event_header_size;
    const std::size_t count =
        std::min<std::size_t>(header.num_events, (remaining - event_header_size) / type->size);
    if (is_selected(reader, header, type) &&
        !print_events(reader, type, bytes_at(block, event_header_size), count))
        return 0;
    return event_header_size + count * type->size;
}

bool vrn_reader_print_event(vrn_reader_t *reader, const vrn_type_definition_t *type,
                            const void *data) {
    if (!print_event_as_asked(reader, type, data)) return false;
    ++reader->records_out;
    return true;
}
