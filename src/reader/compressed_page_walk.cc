#include "reader/compressed_page_walk.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "data/block.h"
#include "data/compressed_page.h"
#include "data/magic.h"
#include "reader/block_walk.h"
#include "reader/page_writer.h"
#include "utils/byte_reader.h"
#include "utils/log.h"

namespace {

using vrn::Bytes;

// Where the search for the next counters block begins, behind a block's header, and its step.
constexpr std::size_t probe_start = 16;
constexpr std::size_t probe_step = 4;

bool is_page(Bytes rest) {
    return rest.size() >= VRN_MAGIC_SIZE && vrn_block_type_of(rest.data()) == VRN_PAGE_BLOCK;
}

// Not cleared, so that room which the page does not fill takes no memory.
bool make_room(vrn_page_buffer_t *buffer, std::size_t size) {
    if (buffer->bytes && size <= buffer->size) return true;
    std::free(std::exchange(buffer->bytes, nullptr));
    buffer->bytes = static_cast<std::uint8_t *>(std::malloc(size + VRN_READER_SLACK));
    buffer->size = size;
    if (buffer->bytes) return true;
    VRN_LOG(VRN_LOG_ERROR, "Failed to allocate data block of size %lu: %s", size,
            std::strerror(errno));
    return false;
}

// Decodes a page to the start of a buffer of `room` bytes, as many as the page needs at most. What
// it decoded to has VRN_READER_SLACK zeros behind it.
bool decode(const void *header, std::size_t room, const vrn_page_buffer_t &buffer, Bytes *payload) {
    std::size_t size = 0;
    if (!vrn_compressed_page_decode_prefix(header, buffer.bytes, room, &size)) return false;
    std::memset(buffer.bytes + size, 0, VRN_READER_SLACK);
    *payload = {buffer.bytes, size};
    return true;
}

// Counters blocks carry no length: the next one's magic tells it.
// Deliberate: a 'D' in the right place of a value cuts the unit short; a test pins it.
std::size_t unit_size(Bytes payload) {
    if (payload.size() <= probe_start || vrn_block_type_of(payload.data()) != VRN_COUNTERS_BLOCK)
        return payload.size();
    for (std::size_t probe = probe_start; probe + VRN_MAGIC_SIZE <= payload.size();
         probe += probe_step)
        if (vrn_block_type_of(&payload[probe]) == VRN_COUNTERS_BLOCK) return probe;
    return payload.size();
}

bool hand_over_blocks(vrn_reader_t *reader, Bytes payload) {
    if (payload.empty()) return true;
    const std::size_t unit = unit_size(payload);
    // A tail shorter than a unit is dropped.
    for (Bytes rest = payload; rest.size() >= unit; rest = rest.subspan(unit))
        if (!vrn_reader_handle_block(reader, rest.data(), unit, true)) return false;
    return true;
}

bool read_payload(vrn_reader_t *reader, Bytes payload) {
    const std::uint8_t *chunk_end = reader->window_end;
    reader->window_end = payload.data() + payload.size();
    const bool done = hand_over_blocks(reader, payload);
    reader->window_end = chunk_end;
    return done;
}

bool export_page(const vrn_reader_t *reader, const void *header, Bytes payload,
                 vrn_data_page_ptr *page) {
    page->reset(vrn_reader_page_prepare(page->release(), payload.size()));
    return *page && vrn_reader_page_write(reader->data_writer, payload.data(), payload.size(),
                                          header, page->get());
}

// `page` is kept from one exported payload to the next.
bool process_page(vrn_reader_t *reader, const void *header, std::size_t room,
                  vrn_data_page_ptr *page) {
    Bytes payload;
    if (!decode(header, room, reader->page, &payload)) return false;
    if (reader->options->format == VRN_FORMAT_BIN)
        return export_page(reader, header, payload, page);
    return read_payload(reader, payload);
}

}  // namespace

bool vrn_reader_walk_compressed_pages(vrn_reader_t *reader, const void *chunk, std::size_t size) {
    Bytes rest(static_cast<const std::uint8_t *>(chunk), size);
    vrn_data_page_ptr page;
    bool good = true;
    while (!rest.empty()) {
        if (!is_page(rest)) return true;  // padding, also behind a failed page
        if (!good) return false;
        const std::size_t page_size = vrn_compressed_page_whole_size(rest);
        if (page_size == 0) return true;
        const std::uint8_t *header = rest.data() + VRN_MAGIC_SIZE;
        const std::size_t room = vrn_compressed_page_decoded_room(header);
        if (!make_room(&reader->page, room)) return false;
        good = process_page(reader, header, room, &page);
        rest = rest.subspan(page_size);
    }
    return good;
}
