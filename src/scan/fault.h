// What a scan finds wrong in a data file, as data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "utils/byte_reader.h"

namespace vrn::scan {

// Where a block stands. All offsets count decompressed bytes from the start of the file, but for
// those inside a page.
struct Place {
    std::uint64_t chunk = 0;
    std::uint64_t block = 0;    // of the block or of the page that holds it
    std::uint64_t in_page = 0;  // of the block in the decoded bytes of its page
    std::uint64_t in_run = 0;   // from the first block of a run of event blocks
    bool is_in_page = false;
};

// A place in a run of event blocks, worked out when it is asked for.
struct PlaceInRun {
    const Place *run;
    std::size_t offset;

    Place get() const {
        Place place = *run;
        (place.is_in_page ? place.in_page : place.block) += offset;
        place.in_run += offset;
        return place;
    }
};

enum class FaultKind : std::uint8_t {
    header_cut,         // fewer than 256 bytes, or they can't be read
    header_bad,         // wrong magic, version or size
    block_size_bad,     // out of range: the file has no grid
    schemas_missing,    // a schema of the header or of a schemas block did not load
    no_memory,          // for a chunk or a page
    read_failed,        // reading or decompression failed; what came before was walked
    stream_cut,         // the file's gzip stream has no end
    tail_short,         // 1 to 3 bytes after the last chunk
    block_unknown,      // no kind of block, or a page inside a page
    not_a_block,        // bytes other than zero where a run of blocks or pages ends
    schemas_block_bad,  // its sizes don't hold
    schema_none,        // events or counters, for which the file names no schema
    type_unknown,       // an event block of a type that no schema has
    page_cut,           // the page's end is not where its header says
    page_damaged,       // its stream doesn't decode
};

struct Fault {
    FaultKind kind;
    Place place;
    std::uint64_t lost;  // bytes up to where Next::block goes on; of a page's, its decoded ones
    Bytes block;         // from the fault on; slack_size bytes more can be read
    char reason[160];    // a sentence without file name and end mark
};

// How a scan goes on. Each leaves out what those before it leave in.
enum class Next : std::uint8_t {
    block,    // after a fault: with the next block that can be found
    run,      // after the blocks at hand: a chunk's, a page's, or one unit of a page of counters
    page,     // with the chunk's next page
    chunk,    // with the next chunk of the file's grid
    nothing,  // the file has failed
};

// Bytes that can be read after every buffer of blocks: a header or a GUID word that begins near
// its end is read without a test. They are zeros.
inline constexpr std::size_t slack_size = 64;

}  // namespace vrn::scan
