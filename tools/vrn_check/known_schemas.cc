#include "vrn_check/known_schemas.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <fstream>
#include <iterator>

#include "scan/schema_folder.h"

namespace vrn::check {
namespace {

// Two digests of 128 bits differ in 64 on average, and hardly ever in so few.
constexpr int max_damaged_bits = 36;
// So many bytes of two digests are the same in one pair of two millions.
constexpr int enough_bytes = 4;

bool is_before(const vrn_schema_id_t &a, const vrn_schema_id_t &b) {
    return vrn_schema_id_compare(&a, &b) < 0;
}

// How far an id is from another, which may be damaged: bits in a few bytes, or bytes in a run.
bool is_close(const vrn_schema_id_t &id, const vrn_schema_id_t &damaged) {
    int bits = 0, equal_bytes = 0;
    for (std::size_t i = 0; i < sizeof id.bytes; ++i) {
        bits += std::popcount(static_cast<std::uint8_t>(id.bytes[i] ^ damaged.bytes[i]));
        // Zeros in a damaged id may be bytes that were erased: they prove nothing.
        equal_bytes += id.bytes[i] != 0 && id.bytes[i] == damaged.bytes[i];
    }
    return bits <= max_damaged_bits || equal_bytes >= enough_bytes;
}

// Tells counters schemas from those of events by the one member that only they have.
bool is_of_counters(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return text.find("\"counter_groups\"") != text.npos;
}

}  // namespace

void SchemaIdList::sort() {
    std::ranges::sort(ids_, is_before);
}

bool SchemaIdList::has(const vrn_schema_id_t &id) const {
    return std::ranges::binary_search(ids_, id, is_before);
}

vrn_schema_id_t SchemaIdList::mended(const vrn_schema_id_t &id) const {
    if (has(id) || vrn_schema_id_is_zero(&id)) return id;
    const auto is_meant = [&](const vrn_schema_id_t &other) { return is_close(other, id); };
    if (const auto found = std::ranges::find_if(ids_, is_meant); found != ids_.end()) return *found;
    // Flipped bits or junk may have made an id where there was none. Digests hardly have so many
    // zeros either.
    const vrn_schema_id_t none{};
    const bool is_digest = std::ranges::count(id.bytes, 0) < enough_bytes;
    return is_meant(none) || !is_digest ? none : id;
}

KnownSchemas::KnownSchemas(const std::string &folder) {
    for (const vrn_schema_id_t &id : scan::schema_ids_in(folder))
        (is_of_counters(folder + "/" + scan::schema_file_name(id)) ? counters : events).add(id);
    // Files of blobs name this one, which has no schema file.
    vrn_schema_id_t blob{};
    vrn_schema_id_set_blob(&blob);
    counters.add(blob);
    events.sort();
    counters.sort();
}

}  // namespace vrn::check
