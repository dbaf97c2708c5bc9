#include "vrn_collect/data_file_output.h"

#include <stdexcept>

namespace vrn::collect {

DataFileOutput::DataFileOutput(const std::string &path, const vrn_data_file_header_t &header)
    : path_(path), stream_(path, std::ios::binary | std::ios::trunc), header_(header) {
    write(&header_, sizeof header_);
}

void DataFileOutput::add_block(const std::string &block, std::uint64_t timestamp) {
    if (block.size() > header_.block_size) throw std::runtime_error("block exceeds the chunk");
    if (chunk_.size() + block.size() > header_.block_size) flush_chunk();
    chunk_ += block;
    if (header_.first_timestamp == 0) header_.first_timestamp = timestamp;
    header_.last_timestamp = timestamp;
}

void DataFileOutput::close() {
    if (!chunk_.empty()) flush_chunk();
    stream_.seekp(0);
    write(&header_, sizeof header_);
    stream_.close();
    if (!stream_) throw std::runtime_error("cannot finish " + path_);
}

void DataFileOutput::flush_chunk() {
    chunk_.resize(header_.block_size, '\0');
    write(chunk_.data(), chunk_.size());
    header_.file_size += chunk_.size();
    chunk_.clear();
}

void DataFileOutput::write(const void *bytes, std::size_t size) {
    stream_.write(static_cast<const char *>(bytes), static_cast<std::streamsize>(size));
    if (!stream_) throw std::runtime_error("cannot write " + path_);
}

}  // namespace vrn::collect
