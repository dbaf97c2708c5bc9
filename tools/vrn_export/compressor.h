// Text in compressed pieces, which follow each other as one stream.
#pragma once

#include <zlib.h>
#include <zstd.h>

#include <cstdint>
#include <string_view>

#include "data/text/text_buffer.h"
#include "utils/c_ptr.h"

namespace vrn::exporter {

enum class Compression : std::uint8_t { none, gzip, zstd };

const char *suffix_of(Compression compression);

// Of one thread. Functions throw std::bad_alloc.
class Compressor {
  public:
    explicit Compressor(Compression compression);
    ~Compressor();
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    // Puts `text` in the place of what `out` holds: as it is, as a gzip member or as a zstd frame.
    void pack(std::string_view text, TextBuffer *out);
    // The same of a text in its own place.
    void pack(TextBuffer *text);

  private:
    static void free_context(ZSTD_CCtx *context) { ZSTD_freeCCtx(context); }

    void pack_gzip(std::string_view text, TextBuffer *out);
    void pack_zstd(std::string_view text, TextBuffer *out);

    Compression compression_;
    z_stream stream_{};
    CPtr<ZSTD_CCtx, free_context> context_;
    TextBuffer packed_;
};

}  // namespace vrn::exporter
