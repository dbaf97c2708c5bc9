#include "vrn_check/block_finder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "data/compressed_page.h"
#include "data/magic.h"
#include "data/schema/event_rows.h"
#include "metrics/section_mark.h"

namespace vrn::check {
namespace {

constexpr std::string_view block_mark = "VRN";
constexpr std::string_view metrics_mark = "CNTX";
constexpr std::size_t metrics_head_size = 8;  // the mark and the block's size
// Blocks in a row that tell a run from rows that look like a block.
constexpr int enough_blocks = 16;

bool begins_blob(Bytes block) {
    if (block.size() < sizeof(vrn_blob_block_t)) return false;
    const auto header = load_le<vrn_blob_block_t>(block.data());
    return header.data_size <= block.size() - sizeof header;
}

// Also of a block whose size or end is damaged: its first section follows the head.
bool begins_metrics(Bytes block) {
    static constexpr std::array<std::string_view, 6> sections = {"LBLN", "LBLV", "CNTI",
                                                                 "HIST", "CLBL", "CNTD"};
    if (whole_metrics_size(block) != 0) return true;
    if (block.size() < metrics_head_size + metrics::MARK_SIZE) return false;
    const auto *mark = reinterpret_cast<const char *>(block.data()) + metrics_head_size;
    return std::ranges::find(sections, std::string_view(mark, metrics::MARK_SIZE)) !=
           sections.end();
}

}  // namespace

bool has_block_mark(Bytes bytes) {
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    return text.find(block_mark) != text.npos;
}

std::size_t whole_metrics_size(Bytes rest) {
    if (rest.size() < metrics_head_size + metrics::TRAILER.size()) return 0;
    const std::size_t size = load_le<std::uint32_t>(rest.data() + metrics_mark.size());
    // Counts from the mark on, with head and trailer.
    if (size < metrics_head_size + metrics::TRAILER.size() || size > rest.size()) return 0;
    return metrics::is_closed_by(rest.first(size), metrics::TRAILER) ? size : 0;
}

std::optional<vrn_block_type_t> BlockFinder::kind_at(std::size_t offset) const {
    const Bytes block = rest(std::min(offset, bytes_.size()));
    if (block.size() < VRN_MAGIC_SIZE) return std::nullopt;
    const std::string_view magic(reinterpret_cast<const char *>(block.data()), VRN_MAGIC_SIZE);
    const vrn_block_type_t kind = vrn_block_type_of(block.data());
    bool holds = false;
    if (magic == metrics_mark)
        holds = begins_metrics(block);
    else if (!magic.starts_with(block_mark))
        return std::nullopt;
    else if (kind == VRN_EVENTS_BLOCK)
        holds = begins_events(block);
    else if (kind == VRN_SCHEMAS_BLOCK)
        holds = begins_schemas(block);
    else if (kind == VRN_COUNTERS_BLOCK)
        holds = begins_counters(block);
    else if (kind == VRN_BLOB_BLOCK)
        holds = begins_blob(block);
    else if (kind == VRN_PAGE_BLOCK)
        holds = vrn_compressed_page_whole_size(block) != 0;
    return holds ? std::optional(kind) : std::nullopt;
}

// The type is all that can be judged: any number may be a time.
bool BlockFinder::begins_events(Bytes block) const {
    if (block.size() < sizeof(vrn_event_header_t) || !schemas_->has_events()) return false;
    const auto header = load_le<vrn_event_header_t>(block.data());
    return vrn_type_system_find_type(schemas_->type_system(), header.schema_index,
                                     header.type_index) != nullptr;
}

// What names a schema that nobody knows is damaged beyond mending.
bool BlockFinder::begins_schemas(Bytes block) const {
    if (block.size() < VRN_SCHEMAS_BLOCK_MIN_BYTES) return false;
    const auto header = load_le<vrn_schemas_block_t>(block.data());
    const SchemaIdList &known = texts_->known().events;
    if (header.num_schema_ids > VRN_SCHEMAS_BLOCK_MAX_IDS || header.size > block.size())
        return false;
    bool names_any = false;
    for (std::size_t i = 0; i < VRN_SCHEMAS_BLOCK_MAX_IDS; ++i) {
        const auto id = known.mended(
            load_le<vrn_schema_id_t>(block.data() + sizeof header + i * sizeof(vrn_schema_id_t)));
        const bool is_known = known.has(id) || names(id);
        if (i < header.num_schema_ids && !is_known && !vrn_schema_id_is_zero(&id)) return false;
        names_any |= is_known;
    }
    return names_any;
}

bool BlockFinder::names_missing(Bytes block) const {
    if (!begins_schemas(block)) return false;
    const auto header = load_le<vrn_schemas_block_t>(block.data());
    for (std::size_t i = 0; i < header.num_schema_ids; ++i) {
        const auto id =
            load_le<vrn_schema_id_t>(block.data() + sizeof header + i * sizeof(vrn_schema_id_t));
        if (names(id) && !texts_->known().events.has(id)) return true;
    }
    return false;
}

// True for an id that is in use, though its schema may be missing.
bool BlockFinder::names(const vrn_schema_id_t &id) const {
    if (!schemas_->current()) return false;
    const scan::SchemaIds &ids = schemas_->current()->ids;
    return std::any_of(ids.events, ids.events + ids.num_events, [&](const vrn_schema_id_t &named) {
        return vrn_schema_id_compare(&named, &id) == 0;
    });
}

// As far as the row is there.
bool BlockFinder::begins_counters(Bytes block) const {
    if (block.size() < sizeof(vrn_data_block_t) || !schemas_->has_counters()) return false;
    return load_le<vrn_data_block_t>(block.data()).padding == 0;
}

std::optional<std::uint64_t> BlockFinder::time_at(std::size_t offset) const {
    const std::uint8_t *block = bytes_.data() + offset;
    switch (kind_at(offset).value_or(VRN_UNKNOWN_BLOCK)) {
        case VRN_EVENTS_BLOCK:
            return load_le<std::uint64_t>(block + offsetof(vrn_event_header_t, timestamp));
        case VRN_COUNTERS_BLOCK:
            return load_le<std::uint64_t>(block + offsetof(vrn_data_block_t, timestamp));
        case VRN_BLOB_BLOCK:
            return load_le<std::uint64_t>(block + offsetof(vrn_blob_block_t, timestamp));
        case VRN_PAGE_BLOCK:
            return std::uint64_t{
                vrn_compressed_page_header_load(block + VRN_MAGIC_SIZE).first_timestamp};
        default:
            return std::nullopt;
    }
}

std::size_t BlockFinder::find_of_time(std::size_t from, std::size_t limit, const TimeSpan &span) {
    const std::size_t after_zeros = skip_zeros(from);
    std::size_t at = find(from, limit);
    while (at < limit) {
        // One without a time may still be told by the zeros before it.
        const bool may_fit = time_at(at) || at == after_zeros;
        if (may_fit && fits(at, span)) return at;
        // Streams may hold blocks as they are.
        const bool is_page = kind_at(at) == VRN_PAGE_BLOCK;
        at = find(at + (is_page ? vrn_compressed_page_whole_size(rest(at)) : 1), limit);
    }
    return limit;
}

bool BlockFinder::fits(std::size_t offset, const TimeSpan &span) const {
    const auto time = time_at(offset);
    if (time && !span.has(*time)) return false;
    // The padding after a row may be anything. Its time proves it.
    return leads_on(offset) || kind_at(offset) == VRN_COUNTERS_BLOCK;
}

std::size_t BlockFinder::find(std::size_t from, std::size_t limit) {
    while (from < limit) {
        const std::size_t at = std::min(find_mark(block_mark, from, limit, &block_),
                                        find_mark(metrics_mark, from, limit, &metrics_));
        if (at >= limit) break;
        if (is_start(at)) return at;
        from = at + 1;
    }
    return limit;
}

std::size_t BlockFinder::end_of_cut_page(std::size_t offset) {
    const std::size_t end = find_mark("vrnp", offset, bytes_.size(), &page_end_);
    // With no start of a page before it, the end is that of a page that lost its start.
    return end < find_page(offset) ? end + VRN_MAGIC_SIZE : 0;
}

std::size_t BlockFinder::find_page(std::size_t from) {
    return find_mark("VRNP", from, bytes_.size(), &page_start_);
}

bool BlockFinder::has_padding(std::size_t from, std::size_t to) const {
    // Streams hardly hold so many zeros in a row.
    constexpr char zeros[8] = {};
    return memmem(bytes_.data() + from, to - from, zeros, sizeof zeros) != nullptr;
}

std::size_t BlockFinder::find_mark(std::string_view mark, std::size_t from, std::size_t limit,
                                   Found *found) const {
    // What was found last holds for all places up to it: to search from each again would take
    // quadratic time.
    if (from < found->from || from > found->at) {
        // No further than it must: a chunk of small blocks is searched from each of them.
        const std::size_t end = std::min(bytes_.size(), limit + mark.size() - 1);
        const void *place = memmem(bytes_.data() + from, end - from, mark.data(), mark.size());
        found->from = from;
        found->at =
            place
                ? static_cast<std::size_t>(static_cast<const std::uint8_t *>(place) - bytes_.data())
                : std::min(bytes_.size(), limit);
    }
    return found->at;
}

std::size_t BlockFinder::skip_zeros(std::size_t from) const {
    const Bytes after = rest(from);
    const auto first = std::ranges::find_if(after, [](std::uint8_t byte) { return byte != 0; });
    return from + static_cast<std::size_t>(first - after.begin());
}

bool BlockFinder::is_end(std::size_t offset) const {
    // So many bytes after a run are no block to its walk.
    if (bytes_.size() - offset <= VRN_MAGIC_SIZE) return true;
    // What follows a block is padding or another block.
    if (load_le<std::uint32_t>(&bytes_[offset]) == 0) return true;
    while (bytes_[offset] == 0) ++offset;
    return is_start(offset);
}

bool BlockFinder::leads_on(std::size_t offset) const {
    for (int blocks = 0; blocks < enough_blocks; ++blocks) {
        const auto kind = kind_at(offset);
        // A page is held by its two ends, and a blob may be followed by anything.
        if (kind == VRN_PAGE_BLOCK || kind == VRN_BLOB_BLOCK) return true;
        const std::size_t size = kind ? size_of(*kind, rest(offset)) : 0;
        if (size == 0 || !is_end(offset + size)) return false;
        if (!is_start(offset + size)) return true;
        offset += size;
    }
    return true;
}

bool BlockFinder::leads_to(std::size_t offset, std::size_t end) const {
    for (int blocks = 0; blocks < enough_blocks && offset < end; ++blocks) {
        const auto kind = kind_at(offset);
        if (!kind) return false;
        const std::size_t size = size_of(*kind, rest(offset));
        if (size == 0) return kind == VRN_EVENTS_BLOCK || kind == VRN_COUNTERS_BLOCK;
        offset += size;
    }
    return true;
}

// 0 when the block claims more than there is.
std::size_t BlockFinder::size_of(vrn_block_type_t kind, Bytes block) const {
    if (kind == VRN_CNTX_BLOCK) return whole_metrics_size(block);
    if (kind == VRN_SCHEMAS_BLOCK) return load_le<vrn_schemas_block_t>(block.data()).size;
    const vrn_type_system_t *system = schemas_->type_system();
    if (kind == VRN_COUNTERS_BLOCK) {
        const std::size_t size = sizeof(vrn_data_block_t) + system->counters_schema->size;
        return size <= block.size() ? size : 0;
    }
    if (kind == VRN_PAGE_BLOCK) return vrn_compressed_page_whole_size(block);
    if (kind == VRN_BLOB_BLOCK)
        return sizeof(vrn_blob_block_t) + load_le<vrn_blob_block_t>(block.data()).data_size;
    const auto header = load_le<vrn_event_header_t>(block.data());
    const vrn_type_definition_t *type =
        vrn_type_system_find_type(system, header.schema_index, header.type_index);
    const std::size_t count = count_event_rows(*type, header, block);
    return count < header.num_events ? 0 : sizeof header + count * type->size;
}

}  // namespace vrn::check
