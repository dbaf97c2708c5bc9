#include "vrn_check/header_repair.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <numeric>

#include "data/block.h"
#include "data/compressed_page.h"
#include "data/magic.h"
#include "scan/data_file_scan.h"

namespace vrn::check {
namespace {

constexpr std::uint32_t usual_chunk_size = 65536;
// In the year 4253: no clock tells a later time, and junk hardly an earlier one.
constexpr std::uint64_t end_of_times = std::uint64_t{1} << 56;
// More tell nothing new about the grid.
constexpr std::size_t max_distances = 4096;

vrn_data_file_header_t new_header() {
    const vrn_data_file_header_ptr header(vrn_data_file_header_create());
    if (!header) throw std::bad_alloc();
    header->block_size = usual_chunk_size;
    return *header;
}

bool has_start(const vrn_data_file_header_t &header) {
    return vrn_magic_matches(header.magic, VRN_MAGIC_FILE);
}

bool has_end(const vrn_data_file_header_t &header) {
    return std::string_view(header.magic_end, sizeof header.magic_end) == "vrnf";
}

// Places are used in order: what stands after an unused one is damage.
bool has_gap(const vrn_data_file_header_t &header) {
    const auto is_unused = [](const auto &id) { return vrn_schema_id_is_zero(&id); };
    const auto &ids = header.event_schema_ids;
    return !std::all_of(std::ranges::find_if(ids, is_unused), std::end(ids), is_unused);
}

bool has_plausible_times(const vrn_data_file_header_t &header) {
    return header.first_timestamp < end_of_times && header.last_timestamp < end_of_times &&
           (header.last_timestamp == 0 || header.first_timestamp <= header.last_timestamp);
}

// True when chunks begin with blocks where the header's size has it.
bool holds_grid(Bytes bytes, std::uint32_t chunk_size) {
    // Of the one chunk of a file nothing but its size can be judged.
    if (chunk_size > std::max<std::size_t>(bytes.size(), usual_chunk_size)) return false;
    std::size_t chunks = 0, begun = 0;
    for (std::size_t at = sizeof(vrn_data_file_header_t); at + VRN_MAGIC_SIZE <= bytes.size();
         at += chunk_size, ++chunks)
        begun += vrn_block_type_of(&bytes[at]) != VRN_UNKNOWN_BLOCK ? 1 : 0;
    return 2 * begun >= chunks;
}

// As far as one can tell without looking into the blocks.
bool is_sound(const vrn_data_file_header_t &header, Bytes bytes) {
    static constexpr char zeros[sizeof header.padding] = {};
    return vrn_data_file_header_is_valid(&header) && has_end(header) &&
           header.block_size >= scan::min_chunk_size &&
           header.block_size < scan::chunk_size_limit &&
           std::memcmp(header.padding, zeros, sizeof zeros) == 0 && !has_gap(header) &&
           has_plausible_times(header) && holds_grid(bytes, header.block_size);
}

bool has_same_ids(const vrn_data_file_header_t &a, const vrn_data_file_header_t &b) {
    return vrn_schema_id_compare(&a.counters_schema_id, &b.counters_schema_id) == 0 &&
           std::memcmp(a.event_schema_ids, b.event_schema_ids, sizeof a.event_schema_ids) == 0;
}

void mend(vrn_data_file_header_t *header, const KnownSchemas &known) {
    const vrn_data_file_header_t sound = new_header();
    std::memcpy(header->magic, sound.magic, sizeof sound.magic);
    std::memcpy(header->magic_end, sound.magic_end, sizeof sound.magic_end);
    // To pass as valid; the writer sets the real one at its end.
    header->file_size = sound.file_size;
    // A version that readers take stays as it is.
    if (!vrn_data_file_header_is_valid(header)) header->version = sound.version;
    header->counters_schema_id = known.counters.mended(header->counters_schema_id);
    for (vrn_schema_id_t &id : header->event_schema_ids) id = known.events.mended(id);
}

}  // namespace

FoundHeader find_header(Bytes bytes, const KnownSchemas &known) {
    FoundHeader found = {.fields = new_header(), .is_there = false, .has_own_ids = false, .end = 0};
    vrn_data_file_header_t fields{};
    std::memcpy(&fields, bytes.data(), std::min(bytes.size(), sizeof fields));
    // Either end will do: a bit of the other may be flipped.
    found.is_there = has_start(fields) || has_end(fields);
    if (!found.is_there) return found;
    // Without its end, bytes may be missing in it.
    found.end = has_end(fields) ? sizeof fields : VRN_MAGIC_SIZE;
    // What is cut off has the values of a new header.
    if (bytes.size() < sizeof fields)
        std::memcpy(&found.fields, bytes.data(), bytes.size());
    else
        found.fields = fields;
    mend(&found.fields, known);
    found.has_own_ids = is_sound(fields, bytes) && has_same_ids(fields, found.fields);
    return found;
}

void drop_unknown_ids(const KnownSchemas &known, FoundHeader *found) {
    if (found->has_own_ids) return;
    vrn_data_file_header_t *header = &found->fields;
    if (!known.counters.has(header->counters_schema_id)) header->counters_schema_id = {};
    // An id of zeros takes no place, so that those after it would move up.
    vrn_schema_id_t next{};
    for (std::size_t i = VRN_EVENT_SCHEMA_IDS; i-- > 0; next = header->event_schema_ids[i]) {
        vrn_schema_id_t &id = header->event_schema_ids[i];
        if (!vrn_schema_id_is_zero(&id) && !known.events.has(id)) id = next;
    }
}

void ChunkSurvey::add(const KeptBlock &block) {
    largest_ = std::max<std::uint64_t>(largest_, block.room);
    const bool is_single = block.kind == ChunkKind::counters || block.kind == ChunkKind::blob;
    // What follows another block directly needn't begin a chunk.
    if (block.follows_directly && !is_single) return;
    const std::uint64_t distance = block.offset - std::min(block.offset, start_);
    start_ = block.offset;
    if (distance == 0 || distances_.size() == max_distances) return;
    distances_.push_back(distance);
    common_ = std::gcd(common_, distance);
}

bool ChunkSurvey::holds(std::uint64_t size) const {
    return size >= scan::min_chunk_size && size < scan::chunk_size_limit && size >= largest_;
}

std::uint32_t ChunkSurvey::chunk_size(std::uint32_t claimed) const {
    if (holds(claimed)) {
        // Damage moves starts off the grid: the header's size holds if half of them are on it.
        const auto fitting = std::ranges::count_if(
            distances_, [&](std::uint64_t distance) { return distance % claimed == 0; });
        if (2 * static_cast<std::size_t>(fitting) >= distances_.size()) return claimed;
    }
    if (holds(common_)) return static_cast<std::uint32_t>(common_);
    // No grid to be seen: any size will do that holds all blocks.
    const std::uint64_t size = std::max<std::uint64_t>(std::bit_ceil(largest_), usual_chunk_size);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, scan::chunk_size_limit - 1));
}

}  // namespace vrn::check
