#include "vrn_export/format/csv_tables.h"

#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "vrn_export/format/hex_digest.h"

namespace vrn::exporter {
namespace {

// Hex digits. Lists of one digest are told apart when a table gets its name.
constexpr std::size_t digest_size = 8;

// None when a column isn't there.
std::optional<std::vector<std::size_t>> positions_in(const Columns &table, const Columns &columns) {
    std::unordered_map<std::string_view, std::size_t> places;
    for (std::size_t i = 0; i < table.size(); ++i) places.emplace(table[i], i);
    std::vector<std::size_t> positions;
    for (const std::string &column : columns) {
        const auto place = places.find(column);
        if (place == places.end()) return std::nullopt;
        positions.push_back(place->second);
    }
    return positions;
}

std::string digest_of(const Columns &columns) {
    std::string text;
    // Sizes keep lists apart whose names hold what would separate them.
    for (const std::string &column : columns) text += std::to_string(column.size()) + ":" + column;
    return hex_digest(text).substr(0, digest_size);
}

Columns join(const std::set<Columns> &lists) {
    Columns joined;
    std::unordered_set<std::string_view> known;
    for (const Columns &columns : lists)
        for (const std::string &column : columns)
            if (known.insert(column).second) joined.push_back(column);
    return joined;
}

}  // namespace

void CsvTables::learn(const std::string &table, Columns columns) {
    std::size_t bytes = table.size();
    for (const std::string &column : columns) bytes += sizeof(std::string) + column.size();
    if (bytes > max_learned_bytes - learned_bytes_) return;
    if (learned_[table].insert(std::move(columns)).second) learned_bytes_ += bytes;
}

TablePlace CsvTables::find(const std::string &table, const Columns &columns) {
    const std::lock_guard lock(mutex_);
    join_learned();
    if (const auto known = tables_.find(table); known != tables_.end())
        if (auto positions = positions_in(known->second, columns))
            return {table, std::move(*positions), known->second.size()};
    // The name hangs on the columns alone, so that it is the same whichever thread is first.
    std::string name = table + "-" + digest_of(columns);
    // Another table may bear this very name.
    for (auto known = tables_.find(name); known != tables_.end() && known->second != columns;
         known = tables_.find(name))
        name += '_';
    tables_.emplace(name, columns);
    std::vector<std::size_t> positions(columns.size());
    for (std::size_t i = 0; i < positions.size(); ++i) positions[i] = i;
    return {name, std::move(positions), columns.size()};
}

Columns CsvTables::columns_of(const std::string &table) {
    const std::lock_guard lock(mutex_);
    join_learned();
    const auto known = tables_.find(table);
    return known == tables_.end() ? Columns() : known->second;
}

void CsvTables::join_learned() {
    if (has_joined_) return;
    has_joined_ = true;
    for (const auto &[table, lists] : learned_) tables_.emplace(table, join(lists));
    // From now on tables keep their columns: heads that are written can't change.
    learned_.clear();
}

}  // namespace vrn::exporter
