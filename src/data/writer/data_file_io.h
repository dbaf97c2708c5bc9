// The file operations of a data file stream. Failures are logged while `last_write_ok` is true.
//
// Any number of streams and processes may share a file. Each append and each update of the header
// happens under a lock on the file; readers take none. Whoever holds the lock finds out what a
// killed process left unfinished, and cuts it off:
// - A stream whose blocks are of the header's size only appends. After the `file_size` of the
//   header all whole blocks are data then, and what is left over at the end is unfinished.
// - A stream of other blocks marks the `file_size` in the header before its append, and writes the
//   new size there after it. Nothing after a marked size is data.
#pragma once

#include <cstdint>
#include <string>

#include "utils/byte_reader.h"

struct vrn_data_file_t;

// True when something that is not merely a part of a header lies at `path`. A regular file
// shorter than a header was left by a process that ended while it made the file.
bool vrn_data_file_has_content(const std::string &path);

// True when a file is at `path`, and it is the one that the open stream appends to.
bool vrn_data_file_is_present(const vrn_data_file_t *file);

// Makes an empty data file at `path`: a header and no data. On failure nothing is left there. A
// file that another process made meanwhile is fine as it is.
[[nodiscard]] bool vrn_data_file_create(vrn_data_file_t *file);

// Appends `data` and `padding` zeros as a whole, to a new file if the one at `path` is gone.
// Returns the bytes of both, or 0 when the file was given up: what reached it is cut off again, and
// a file that holds nothing else goes.
[[nodiscard]] std::uint64_t vrn_data_file_append(vrn_data_file_t *file, vrn::Bytes data,
                                                 std::uint64_t padding);

// Closes the stream and writes times and size to the header on disk; nothing else of a header
// ever changes. The size is that of the file, which may be shared. True also when there is none.
[[nodiscard]] bool vrn_data_file_update_header(vrn_data_file_t *file);

// Closes the stream, which the next append opens again; a failure is logged.
void vrn_data_file_close_stream(vrn_data_file_t *file);

// Takes `file_size` from the file on disk.
[[nodiscard]] bool vrn_data_file_read_size(vrn_data_file_t *file);
