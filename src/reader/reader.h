// The context of one open data file, and the walk that turns it into output.
#pragma once

#include <parson.h>

#include <cstddef>
#include <cstdint>

#include "counters/counters_json_writer.h"
#include "counters/counters_table.h"
#include "counters/metadata.h"
#include "data/block.h"
#include "data/data_file_header.h"
#include "data/schema/type_system.h"
#include "data/text/json_text.h"
#include "data/text/text_buffer.h"
#include "reader/reader_options.h"
#include "scan/byte_source.h"
#include "utils/byte_reader.h"
#include "utils/client_id.h"

struct vrn_data_writer_t;
namespace vrn::metrics {
class MetricsJsonWriter;
}

// Whether the options select the events of a type by its name.
enum vrn_type_selection_t : std::uint8_t {
    VRN_SELECTION_UNKNOWN,
    VRN_SELECTION_TAKEN,
    VRN_SELECTION_LEFT_OUT,
};

// What the type system of a context was loaded for, and what was found out about its types since.
struct vrn_loaded_schemas_t {
    vrn_schema_id_t event_ids[VRN_SCHEMAS_BLOCK_MAX_IDS];  // in the order of the schema indexes
    std::size_t num_event_ids;
    vrn_schema_id_t counters_id;
    // The load was whole and neither it nor the end of what it made shows a message: a run that
    // keeps it looks like one that loads anew. False before a load.
    bool may_be_kept;
    // By schema and type index.
    vrn_type_selection_t selection[VRN_SCHEMAS_BLOCK_MAX_IDS][VRN_MAX_TYPES];
};

// Room for the payload of one compressed page after the other.
struct vrn_page_buffer_t {
    std::uint8_t *bytes;  // owned, by malloc
    std::size_t size;
};

// Created and destroyed per file; what a run keeps for its next file is taken out before.
struct vrn_reader_t {
    const vrn_reader_options_t *options;  // borrowed
    vrn::ByteSource *file;                // owned
    const char *file_name;                // borrowed
    vrn_data_file_header_t header;
    vrn_type_system_t *type_system;  // owned; rebuilt by every schema load
    std::uint32_t records_out;       // decides the separator before a JSON record
    vrn_metadata_t *metadata;        // owned; null without --metadata
    vrn_client_id_t *client_id;      // owned, as the writer; both null unless the format is bin
    vrn_data_writer_t *data_writer;  // of pages, below `output_dir`
    vrn_loaded_schemas_t loaded;
    vrn_page_buffer_t page;
    // End of the bytes that blocks may read at present: the chunk buffer or a page's payload.
    // VRN_READER_SLACK zeros stand behind it.
    const std::uint8_t *window_end;
    // Owned; of the type system's counters, made at their first row.
    vrn::CountersJsonWriter *counters_json;
    vrn::CountersTable *counters_table;
    vrn::metrics::MetricsJsonWriter
        *metrics_writer;  // owned; made for the first metrics block of the file
    // Owned; made for the first record of the file, of JSON or of any other text.
    vrn::JsonText *text;
};

// Null after one line when the file can't be opened or memory runs out.
vrn_reader_t *vrn_reader_create(const char *path, const vrn_reader_options_t *options);
void vrn_reader_destroy(vrn_reader_t *reader);
using vrn_reader_ptr = vrn::CPtr<vrn_reader_t, vrn_reader_destroy>;

// Number of files that could not be read to their end.
std::int32_t vrn_read_all_files(const vrn_reader_options_t *options);

// True when the file was read to its end. `is_first`: first entry of the list.
bool vrn_read_data_file(const char *path, const vrn_reader_options_t *options, bool is_first);

// The same for the context of a file, which is at its start.
bool vrn_reader_read_file(vrn_reader_t *reader, bool is_first);

// Reads and checks the header of the file at `path` alone. False after a line.
bool vrn_reader_read_file_header(const char *path, const vrn_reader_options_t *options,
                                 vrn_data_file_header_t *header);

// "Failed processing file NAME: " and the message on standard error, whatever the log level.
void vrn_reader_fail(const vrn_reader_t *reader, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

// Walks the chunks of the file. False fails the file, after a line.
bool vrn_reader_read_blocks(vrn_reader_t *reader);

// Dispatches a block, or a run of event blocks, of `size` bytes inside the window. False fails
// the file.
bool vrn_reader_handle_block(vrn_reader_t *reader, const void *block, std::size_t size,
                             bool in_compressed);

// Prints a JSON value as a record of the chosen format.
void vrn_reader_print_json(vrn_reader_t *reader, const JSON_Value *value);
