// The walk of a chunk of compressed pages.
#pragma once

#include <cstddef>

#include "reader/reader.h"

// Decodes the pages that stand back to back in the `size` bytes of `chunk` and hands their blocks
// over, one unit at a time. What is no whole page ends the chunk without a line. False, after a
// line unless the page's encoding is unknown, when a page fails that no padding follows; when
// memory runs out, at once.
bool vrn_reader_walk_compressed_pages(vrn_reader_t *reader, const void *chunk, std::size_t size);
