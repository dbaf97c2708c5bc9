#include "sql/page_prefix.h"

#include <snappy-sinksource.h>
#include <snappy.h>
#include <zlib.h>

#include <algorithm>

namespace vrn::sql {
namespace {

// The largest window, and 16 for a gzip header.
constexpr int gzip_window_bits = 31;

std::string inflate_prefix(Bytes stream, std::size_t size) {
    z_stream inflater{};
    if (inflateInit2(&inflater, gzip_window_bits) != Z_OK) return {};
    std::string prefix(size, '\0');
    // zlib only reads from there.
    inflater.next_in = const_cast<Bytef *>(stream.data());
    inflater.avail_in = static_cast<uInt>(stream.size());
    inflater.next_out = reinterpret_cast<Bytef *>(prefix.data());
    inflater.avail_out = static_cast<uInt>(size);
    // Its result doesn't matter: a stream that is cut short is the rule here.
    inflate(&inflater, Z_SYNC_FLUSH);
    prefix.resize(size - inflater.avail_out);
    inflateEnd(&inflater);
    return prefix;
}

// Takes what comes until it is full.
class PrefixSink final : public snappy::Sink {
  public:
    explicit PrefixSink(std::size_t size) : size_(size) {}

    // The decoder can't be stopped, so what comes after the prefix is dropped.
    void Append(const char *bytes, std::size_t count) override {
        prefix_.append(bytes, std::min(count, size_ - prefix_.size()));
    }

    std::string take() { return std::move(prefix_); }

  private:
    std::size_t size_;
    std::string prefix_;
};

std::string unsnap_prefix(Bytes stream, std::size_t size) {
    snappy::ByteArraySource source(reinterpret_cast<const char *>(stream.data()), stream.size());
    PrefixSink sink(size);
    snappy::UncompressAsMuchAsPossible(&source, &sink);
    return sink.take();
}

}  // namespace

std::string decode_page_prefix(vrn_page_encoding_t encoding, Bytes stream, std::size_t size) {
    switch (encoding) {
        case VRN_ENCODING_GZIP:
            return inflate_prefix(stream, size);
        case VRN_ENCODING_SNAPPY:
            return unsnap_prefix(stream, size);
        default:
            return {};
    }
}

}  // namespace vrn::sql
