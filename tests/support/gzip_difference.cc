#include "support/gzip_difference.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>

#include "data/page_encoding.h"
#include "scan/byte_source.h"
#include "support/captured_log.h"

namespace vrn::test {
namespace {

struct Outcome {
    std::string bytes;
    ByteSource::State state;
    std::string error;
};

Outcome read_all(ByteSource *source) {
    constexpr std::size_t step = 50000;
    Outcome outcome{};
    std::string piece(step, '\0');
    while (source->state() == ByteSource::State::open)
        outcome.bytes.append(piece, 0, source->read(piece.data(), step));
    outcome.state = source->state();
    outcome.error = source->error_text();
    return outcome;
}

// A pipe can't be read twice, so only zlib reads it.
Outcome read_pipe(const std::string &bytes) {
    int ends[2];
    if (pipe(ends) != 0 || fcntl(ends[1], F_SETPIPE_SZ, 1 << 20) < 0) return {};
    const bool is_written =
        write(ends[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    close(ends[1]);
    Outcome outcome = read_all(ByteSource::open_descriptor(ends[0]).get());
    close(ends[0]);
    return is_written ? outcome : Outcome{};
}

// As the decoder of pages did it before it had a quick way: whether the stream ends in the room.
bool inflate_page(const std::string &stream, std::string *page) {
    z_stream state{};
    if (inflateInit2(&state, 31) != Z_OK) return false;
    state.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(stream.data()));
    state.avail_in = static_cast<uInt>(stream.size());
    state.next_out = reinterpret_cast<Bytef *>(page->data());
    state.avail_out = static_cast<uInt>(page->size());
    const int result = inflate(&state, Z_NO_FLUSH);
    std::fill(page->end() - state.avail_out, page->end(), '\0');
    inflateEnd(&state);
    return result == Z_STREAM_END;
}

}  // namespace

std::string gzip_file_difference(const std::string &bytes) {
    const Outcome expected = read_pipe(bytes);
    const Outcome outcome = read_all(ByteSource::open_memory(bytes_of(bytes)).get());
    const std::string sizes = std::to_string(expected.bytes.size()) + " bytes by zlib, " +
                              std::to_string(outcome.bytes.size()) + " here";
    if (outcome.state != expected.state) return "other state: " + sizes;
    if (outcome.error != expected.error) return expected.error + " / " + outcome.error;
    return outcome.bytes == expected.bytes ? "" : "other bytes: " + sizes;
}

std::string gzip_page_difference(const std::string &bytes) {
    const CapturedLog log;
    constexpr std::uint64_t max_room = 1 << 20;
    const std::uint64_t room =
        std::min(vrn_encoded_data_uncompressed_size(VRN_ENCODING_GZIP, bytes.data(), bytes.size()),
                 max_room);
    std::string expected(room, '?');
    std::string page(room, '?');
    const bool is_expected = inflate_page(bytes, &expected);
    const bool is_page = vrn_encoded_data_decode(VRN_ENCODING_GZIP, bytes.data(), bytes.size(),
                                                 page.data(), page.size());
    if (is_page != is_expected) return is_page ? "zlib refuses the page" : "zlib takes the page";
    return !is_page || page == expected ? "" : "other bytes in the page";
}

}  // namespace vrn::test
