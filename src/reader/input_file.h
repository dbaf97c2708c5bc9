// An open data file with what --format bin needs beside it.
#pragma once

#include <memory>

#include "data/data_file_header.h"
#include "reader/page_export.h"
#include "reader/reader_options.h"
#include "scan/byte_source.h"

namespace vrn::reader {

struct InputFile {
    std::unique_ptr<ByteSource> source;
    std::unique_ptr<PageExport> pages;  // null unless the format is bin
};

// False after two lines when the file can't be opened or memory runs out.
[[nodiscard]] bool open_input(const char *path, const vrn_reader_options_t &options,
                              InputFile *file);

// Reads and checks the header of the file at `path` alone. False after a line.
[[nodiscard]] bool read_file_header(const char *path, const vrn_reader_options_t &options,
                                    vrn_data_file_header_t *header);

}  // namespace vrn::reader
