#include "vrn_collect/data_file_output.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "data/page_encoder.h"
#include "utils/c_ptr.h"

namespace vrn::collect {
namespace {

// A page block of `payload` under the source and tag of the file. Texts and counters shrink; what
// does not, such as noise, may grow past the chunk, and is refused there.
std::string encode_page(const vrn_data_file_header_t &header, vrn_page_encoding_t encoding,
                        const std::string &payload, std::uint64_t first, std::uint64_t last) {
    vrn_page_info_t info{};
    std::memcpy(info.source.source, header.source_id, sizeof info.source.source);
    std::memcpy(info.source.tag, header.source_tag, sizeof info.source.tag);
    info.first_timestamp = first;
    info.last_timestamp = last;
    info.encoding = encoding;
    std::size_t size = 0;
    const CPtr<void, std::free> block(
        vrn_compressed_page_encode(&info, payload.data(), payload.size(), &size));
    if (!block) throw std::runtime_error("cannot encode a page");
    return {static_cast<const char *>(block.get()), size};
}

}  // namespace

DataFileOutput::DataFileOutput(const std::string &path, const vrn_data_file_header_t &header,
                               std::optional<vrn_page_encoding_t> encoding)
    : path_(path),
      stream_(path, std::ios::binary | std::ios::trunc),
      header_(header),
      encoding_(encoding) {
    write(&header_, sizeof header_);
}

void DataFileOutput::add_block(const std::string &block, std::uint64_t timestamp) {
    if (blocks_.size() + block.size() > header_.block_size) flush_blocks();
    if (blocks_.empty()) first_timestamp_ = timestamp;
    last_timestamp_ = timestamp;
    blocks_ += block;
    if (header_.first_timestamp == 0) header_.first_timestamp = timestamp;
    header_.last_timestamp = timestamp;
}

void DataFileOutput::end_chunk() {
    flush_blocks();
    flush_chunk();
}

void DataFileOutput::close() {
    end_chunk();
    stream_.seekp(0);
    write(&header_, sizeof header_);
    stream_.close();
    if (!stream_) throw std::runtime_error("cannot finish " + path_);
}

void DataFileOutput::flush_blocks() {
    if (blocks_.empty()) return;
    add_to_chunk(encoding_
                     ? encode_page(header_, *encoding_, blocks_, first_timestamp_, last_timestamp_)
                     : blocks_);
    blocks_.clear();
}

void DataFileOutput::add_to_chunk(const std::string &block) {
    if (block.size() > header_.block_size) throw std::runtime_error("block exceeds the chunk");
    if (chunk_.size() + block.size() > header_.block_size) flush_chunk();
    chunk_ += block;
}

void DataFileOutput::flush_chunk() {
    if (chunk_.empty()) return;
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
