#include "vrn_export/compressor.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace vrn::exporter {
namespace {

constexpr int gzip_window_bits = 15 + 16;  // with the framing of gzip
constexpr int gzip_memory_level = 8;       // zlib's default
// zlib counts the bytes of a call in a uInt.
constexpr std::size_t max_piece = std::numeric_limits<uInt>::max();

}  // namespace

const char *suffix_of(Compression compression) {
    switch (compression) {
        case Compression::gzip:
            return ".gz";
        case Compression::zstd:
            return ".zst";
        default:
            return "";
    }
}

Compressor::Compressor(Compression compression) : compression_(compression) {
    if (compression == Compression::gzip &&
        deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip_window_bits,
                     gzip_memory_level, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    if (compression != Compression::zstd) return;
    context_.reset(ZSTD_createCCtx());
    if (!context_) throw std::bad_alloc();
    // zstd has it off by default; gzip always has a checksum.
    ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_checksumFlag, 1);
}

Compressor::~Compressor() {
    if (compression_ == Compression::gzip) deflateEnd(&stream_);
}

void Compressor::pack(std::string_view text, TextBuffer *out) {
    out->clear();
    if (compression_ == Compression::gzip)
        pack_gzip(text, out);
    else if (compression_ == Compression::zstd)
        pack_zstd(text, out);
    else
        out->append(text);
}

void Compressor::pack(TextBuffer *text) {
    if (compression_ == Compression::none) return;
    pack(text->view(), &packed_);
    // Swapped, so that both buffers keep their memory.
    std::swap(*text, packed_);
}

void Compressor::pack_gzip(std::string_view text, TextBuffer *out) {
    // Each piece is a member of its own; members that follow each other are one gzip file.
    deflateReset(&stream_);
    int result = Z_OK;
    while (result != Z_STREAM_END) {
        const std::string_view piece = text.substr(0, max_piece);
        stream_.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(piece.data()));
        stream_.avail_in = static_cast<uInt>(piece.size());
        const std::size_t room =
            std::min<std::size_t>(deflateBound(&stream_, piece.size()), max_piece);
        char *place = out->reserve(room);
        stream_.next_out = reinterpret_cast<Bytef *>(place);
        stream_.avail_out = static_cast<uInt>(room);
        result = deflate(&stream_, piece.size() == text.size() ? Z_FINISH : Z_NO_FLUSH);
        text.remove_prefix(piece.size() - stream_.avail_in);
        out->advance_to(place + room - stream_.avail_out);
    }
}

void Compressor::pack_zstd(std::string_view text, TextBuffer *out) {
    const std::size_t room = ZSTD_compressBound(text.size());
    char *place = out->reserve(room);
    const std::size_t size = ZSTD_compress2(context_.get(), place, room, text.data(), text.size());
    // With room for the worst it fails for want of memory alone.
    if (ZSTD_isError(size)) throw std::bad_alloc();
    out->advance_to(place + size);
}

}  // namespace vrn::exporter
