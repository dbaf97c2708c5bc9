// Event blocks of a data file: the walk of their run, the selection of types, the output of rows.
#pragma once

#include "reader/reader.h"

// One run of event and schemas blocks, ended by anything else. False fails the file.
bool vrn_reader_walk_event_blocks(vrn_reader_t *reader, const void *block, std::size_t size);

// The event block at `block`, of whose run `remaining` bytes are left. Returns the bytes it takes,
// 0 on failure.
std::size_t vrn_reader_handle_events_block(vrn_reader_t *reader, const void *block,
                                           std::size_t remaining);

// One row of `type` in the chosen format. False fails the block.
bool vrn_reader_print_event(vrn_reader_t *reader, const vrn_type_definition_t *type,
                            const void *data);
