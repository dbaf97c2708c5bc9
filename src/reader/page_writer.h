// Pages of --format bin: decompressed payloads on their way to the data writer.
#pragma once

#include <cstddef>

#include "data/data_page.h"

struct vrn_data_writer_t;

// An empty page for a payload of `size` bytes: `page` itself when it has that size, with the
// timestamps and names it holds, or a new one in its place. Owns `page`, which may be null; the
// result ends with vrn_data_page_free. Null after a line.
[[nodiscard]] vrn_data_page_t *vrn_reader_page_prepare(vrn_data_page_t *page, std::size_t size);

// Fills `page` with a payload, and with the names and times of its compressed page header
// (`header` points at `header_size`), and hands it to `writer`. False when the payload does not
// fit, after a line, or when the writer fails.
[[nodiscard]] bool vrn_reader_page_write(vrn_data_writer_t *writer, const void *payload,
                                         std::size_t size, const void *header,
                                         vrn_data_page_t *page);
