// The bound on the total size of what a data writer has stored.
#pragma once

#include <cstdint>
#include <string>

struct vrn_data_writer_t;

// Counts the file at `path` as the newest one written.
void vrn_data_writer_note_file(vrn_data_writer_t *writer, const std::string &path);

// Counts `bytes` into the newest file, whichever received them, and enforces the limit.
void vrn_data_writer_note_bytes(vrn_data_writer_t *writer, std::uint64_t bytes);

// Once the total is above the limit, removes the oldest files until one more whole file has room.
// A file that can't be removed ends this after a line; the next call tries it again.
void vrn_data_writer_enforce_limit(vrn_data_writer_t *writer);
