// Writes one data file, chunk by chunk, through the library's own records.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "data/data_file_header.h"

namespace vrn::collect {

class DataFileOutput {
  public:
    // `header` comes with source, tag, schema ids and block size; times and size are kept here.
    // Throws std::runtime_error when the file can't be written, as do the other members.
    DataFileOutput(const std::string &path, const vrn_data_file_header_t &header);

    // Adds a block of at most the block size; blocks share chunks, chunks end in zeros.
    void add_block(const std::string &block, std::uint64_t timestamp);

    // Writes the last chunk and the final header.
    void close();

  private:
    void flush_chunk();
    void write(const void *bytes, std::size_t size);

    std::string path_;
    std::ofstream stream_;
    vrn_data_file_header_t header_;
    std::string chunk_;
};

}  // namespace vrn::collect
