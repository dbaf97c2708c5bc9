#include "scan/chunk_walk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "data/magic.h"

namespace vrn::scan {

namespace {

// Where the search for the next counters block begins, after a block's header, and its step.
constexpr std::size_t probe_start = 16;
constexpr std::size_t probe_step = 4;

bool is_page(Bytes rest) {
    return rest.size() >= VRN_MAGIC_SIZE && vrn_block_type_of(rest.data()) == VRN_PAGE_BLOCK;
}

// Offset of the next whole page from `offset` on; the whole size when there is none.
std::size_t find_page(Bytes chunk, std::size_t offset) {
    // Letters alone would take any text for a page: its end must be where its header says, too.
    for (; offset + VRN_MAGIC_SIZE < chunk.size(); ++offset) {
        const void *place = std::memchr(&chunk[offset], 'V', chunk.size() - offset);
        if (!place) break;
        offset = static_cast<std::size_t>(static_cast<const std::uint8_t *>(place) - chunk.data());
        const Bytes rest = chunk.subspan(offset);
        if (rest.size() < VRN_MAGIC_SIZE) break;
        if (vrn_magic_matches(reinterpret_cast<const char *>(rest.data()), 'P') &&
            vrn_compressed_page_whole_size(rest) != 0)
            return offset;
    }
    return chunk.size();
}

Place place_of(const Chunk &chunk, std::size_t offset) {
    return {.chunk = chunk.offset, .block = chunk.offset + offset};
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

}  // namespace

bool ChunkWalk::walk(const Chunk &chunk) {
    const Next next = walk_all(chunk);
    visitor_->chunk_end();
    return next != Next::nothing;
}

Next ChunkWalk::walk_all(const Chunk &chunk) {
    if (is_page(chunk.bytes)) return walk_pages(chunk, 0);
    const Next next = blocks_.walk({chunk.bytes, chunk.reach, place_of(chunk, 0)});
    // Only after a fault: bytes that are no block may have been the first page.
    const std::size_t page =
        next == Next::page ? find_page(chunk.bytes, VRN_MAGIC_SIZE) : chunk.bytes.size();
    return page < chunk.bytes.size() ? walk_pages(chunk, page) : next;
}

Next ChunkWalk::walk_pages(const Chunk &chunk, std::size_t offset) {
    for (;;) {
        const Bytes rest = chunk.bytes.subspan(offset);
        const std::size_t size = is_page(rest) ? vrn_compressed_page_whole_size(rest) : 0;
        Next next = Next::block;
        std::size_t next_page = offset + size;
        if (size != 0) {
            const std::uint8_t *header = rest.data() + VRN_MAGIC_SIZE;
            next = walk_page({header, vrn_compressed_page_header_load(header), rest.first(size),
                              place_of(chunk, offset)});
        } else {
            next = is_page(rest) ? report_cut_page(chunk, offset, &next_page)
                                 : end_pages(chunk, offset, &next_page);
            // Nothing is left to go on with, whatever the visitor asks for.
            if (next_page == chunk.bytes.size()) next = std::max(next, Next::chunk);
        }
        if (next > Next::page) return next;
        offset = next_page;
    }
}

Next ChunkWalk::end_pages(const Chunk &chunk, std::size_t offset, std::size_t *next_page) {
    const Bytes rest = chunk.bytes.subspan(offset);
    *next_page = chunk.bytes.size();
    const Next next = visitor_->pages_end(rest);
    if (next > Next::page || is_all_zero(rest)) return next;
    *next_page = find_page(chunk.bytes, offset + 1);
    return visitor_->fault(make_fault(FaultKind::not_a_block, place_of(chunk, offset), rest,
                                      *next_page - offset, "No page where one could begin"));
}

Next ChunkWalk::report_cut_page(const Chunk &chunk, std::size_t offset, std::size_t *next_page) {
    *next_page = find_page(chunk.bytes, offset + 1);
    return visitor_->fault(make_fault(FaultKind::page_cut, place_of(chunk, offset),
                                      chunk.bytes.subspan(offset), *next_page - offset,
                                      "A page's end is not where its header says"));
}

Next ChunkWalk::walk_page(const CompressedPage &page) {
    const PageUse use = visitor_->page(page);
    if (use == PageUse::fail_file) return Next::nothing;
    if (use == PageUse::pass_over) return Next::page;
    const std::size_t room = vrn_compressed_page_decoded_room(page.header);
    if (!buffer_->reserve(room))
        return visitor_->fault(make_fault(
            FaultKind::no_memory, page.place, page.block, page.block.size(),
            "Failed to allocate data block of size %lu: %s", room, std::strerror(errno)));
    Bytes payload;
    // zlib needs memory of its own, which tells a shortage from damage.
    errno = 0;
    if (!buffer_->decode(page.header, room, &payload))
        return visitor_->fault(
            make_fault(errno == ENOMEM ? FaultKind::no_memory : FaultKind::page_damaged, page.place,
                       page.block, page.block.size(), "A page's stream doesn't decode"));
    return use == PageUse::payload ? visitor_->payload(page, payload) : walk_payload(page, payload);
}

Next ChunkWalk::walk_payload(const CompressedPage &page, Bytes payload) {
    visitor_->decoded(page, payload);
    if (payload.empty()) return Next::block;
    const std::size_t unit = unit_size(payload);
    Place place = page.place;
    place.is_in_page = true;
    Bytes rest = payload;
    for (; rest.size() >= unit; rest = rest.subspan(unit)) {
        const Next next = blocks_.walk({rest.first(unit), rest, place});
        if (next > Next::run) return next;
        place.in_page += unit;
    }
    // Only counters leave a tail: the unit of all else is the whole payload.
    visitor_->page_tail({VRN_COUNTERS_BLOCK, rest, place});
    return Next::block;
}

}  // namespace vrn::scan
