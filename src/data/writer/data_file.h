// One output stream of the data writer: the data file that receives the pages of one source and
// tag, and the rules by which it ends and the next one begins.
//
// What an append reported as written is with the kernel: nothing is held back in this process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "data/schema_id.h"
#include "data/writer/data_file_state.h"
#include "utils/byte_reader.h"
#include "utils/client_id.h"

void vrn_data_file_init(vrn_data_file_t *file, const vrn_client_id_t *client_id,
                        std::string_view source, std::string_view tag,
                        std::uint32_t is_not_counters);

// Brings the header of the current file up to date, best effort, and releases what is held.
void vrn_data_file_destroy(vrn_data_file_t *file);

// Appends `size` bytes of whole blocks that span `first_ts` to `last_ts` to the current file, or to
// a new one when it is time. Returns the bytes written or 0. `rotated`, which may be null, tells
// whether a new current file was set up. Throws what vrn_data_file_expand_path throws.
[[nodiscard]] std::uint64_t vrn_data_file_write(vrn_data_file_t *file, std::uint64_t first_ts,
                                                std::uint64_t last_ts, const void *data,
                                                std::uint64_t size, bool *rotated);

// Writes `data` and then `padding` zeros, which need neither memory nor room on the disk.
// Returns the bytes of both or 0.
std::uint64_t vrn_data_file_write_padded(vrn_data_file_t *file, std::uint64_t first_ts,
                                         std::uint64_t last_ts, vrn::Bytes data,
                                         std::uint64_t padding, bool *rotated);

// Whether data of these times asks for a new file.
bool vrn_data_file_needs_rotation(const vrn_data_file_t *file, std::uint64_t first_ts,
                                  std::uint64_t last_ts);

// Ends the current file and sets up the next one, if it is time. True when one was set up. False
// with an empty `path` when it could not be, after one line per stretch of failures. A time that
// the date library refuses is thrown and leaves the old path in place.
[[nodiscard]] bool vrn_data_file_rotate(vrn_data_file_t *file, std::uint64_t first_ts,
                                        std::uint64_t last_ts);

// Updates the header of the current file, if there is one; from then on there is none.
void vrn_data_file_finish(vrn_data_file_t *file);

// These setters finish the current file when they change a value. Those marked ignore a zero or
// an empty text.
void vrn_data_file_set_max_size(vrn_data_file_t *file, std::uint64_t bytes);        // ignores
void vrn_data_file_set_max_age(vrn_data_file_t *file, std::uint64_t microseconds);  // ignores
void vrn_data_file_set_block_size(vrn_data_file_t *file, std::uint32_t bytes);
void vrn_data_file_set_counters_schema_id(vrn_data_file_t *file, const vrn_schema_id_t *id);
// Takes all seven ids after the header of a schemas block; what `block` lacks reads as zeros.
void vrn_data_file_set_event_schema_ids(vrn_data_file_t *file, vrn::Bytes block);
void vrn_data_file_set_tag(vrn_data_file_t *file, std::string_view tag);
void vrn_data_file_set_root_dir(vrn_data_file_t *file, std::string_view dir);        // ignores
void vrn_data_file_set_path_template(vrn_data_file_t *file, std::string_view text);  // ignores

// These finish nothing.
void vrn_data_file_set_keep_open(vrn_data_file_t *file, bool keep_open);
void vrn_data_file_set_tag_in_path(vrn_data_file_t *file, bool tag_in_path);
