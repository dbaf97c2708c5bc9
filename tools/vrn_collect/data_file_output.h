// Writes one data file, chunk by chunk, through the library's own records.
#pragma once

#include <fstream>
#include <optional>
#include <string>

#include "data/data_file_header.h"
#include "data/page_encoding.h"

namespace vrn::collect {

class DataFileOutput {
  public:
    // `header` comes with source, tag, schema ids and block size; times and size are kept here.
    // With an encoding, each chunk's worth of blocks goes out as compressed pages, and the chunks
    // hold pages. Members throw std::runtime_error when the file can't be written.
    DataFileOutput(const std::string &path, const vrn_data_file_header_t &header,
                   std::optional<vrn_page_encoding_t> encoding);

    // Adds a block of at most the block size; blocks share chunks, chunks end in zeros.
    void add_block(const std::string &block, std::uint64_t timestamp);

    // Lets the next block begin a chunk of its own.
    void end_chunk();

    // Writes what is left and the final header.
    void close();

  private:
    void flush_blocks();
    void add_to_chunk(const std::string &block);
    void flush_chunk();
    void write(const void *bytes, std::size_t size);

    std::string path_;
    std::ofstream stream_;
    vrn_data_file_header_t header_;
    std::optional<vrn_page_encoding_t> encoding_;
    std::string blocks_;  // to go into one page, and its times
    std::uint64_t first_timestamp_ = 0;
    std::uint64_t last_timestamp_ = 0;
    std::string chunk_;
};

}  // namespace vrn::collect
