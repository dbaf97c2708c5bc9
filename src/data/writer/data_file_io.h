// The file operations of a data file stream. Failures are logged while `last_write_ok` is true.
//
// Streams of several block sizes may share a file, which nothing in its data tells. So a stream
// whose blocks are not of the header's size writes `file_size` there behind each append. Behind
// `file_size` all whole pages are blocks of the header's size then, and what is left over at the
// end of the file is of an append that a killed process did not finish.
#pragma once

#include <cstdint>
#include <string>

struct vrn_data_file_t;

// True when something that is not merely a part of a header lies at `path`. A regular file
// shorter than a header was left by a process that ended while it made the file.
bool vrn_data_file_has_content(const std::string &path);

// True when a file is at `path`, and it is the one that the open stream appends to.
bool vrn_data_file_is_present(const vrn_data_file_t *file);

// Makes an empty data file at `path`: a header and no data. On failure nothing is left there.
bool vrn_data_file_create(vrn_data_file_t *file);

// Appends in one call. Returns `size`, or 0 when the file was given up: what reached it is cut off
// again, and a file that holds nothing else goes.
std::uint64_t vrn_data_file_append(vrn_data_file_t *file, const void *data, std::uint64_t size);

// Closes the stream and writes times and size to the header on disk; nothing else of a header
// ever changes. The size is that of the file, which may be shared. True also when there is none.
bool vrn_data_file_update_header(vrn_data_file_t *file);

// Takes `file_size` from the file on disk.
bool vrn_data_file_read_size(vrn_data_file_t *file);

// Cuts a file back to its last whole block, as a writer may have ended amid a write.
void vrn_data_file_cut_torn_tail(vrn_data_file_t *file);
