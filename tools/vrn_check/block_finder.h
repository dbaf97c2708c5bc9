// Where blocks begin in bytes whose grid may be lost.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "data/block.h"
#include "scan/schemas_in_use.h"
#include "utils/byte_reader.h"
#include "vrn_check/kept_block.h"
#include "vrn_check/schema_texts.h"

namespace vrn::check {

// A block's first letters alone would take any text for one: what follows them must hold, too.
class BlockFinder {
  public:
    // Borrows all three. Of `bytes`, scan::slack_size more can be read.
    BlockFinder(Bytes bytes, const scan::SchemasInUse *schemas, SchemaTexts *texts)
        : bytes_(bytes), schemas_(schemas), texts_(texts) {}

    // The kind of the block that begins at `offset`, by the schemas in use.
    std::optional<vrn_block_type_t> kind_at(std::size_t offset) const;
    bool is_start(std::size_t offset) const { return kind_at(offset).has_value(); }
    // The time of the block that begins at `offset`; null when its head tells none.
    std::optional<std::uint64_t> time_at(std::size_t offset) const;

    // The first start from `from` on; `limit` when there is none before it.
    std::size_t find(std::size_t from, std::size_t limit);
    // The same of blocks whose times lie in the span, which tells them from what an earlier user of
    // the memory left in padding.
    std::size_t find_of_time(std::size_t from, std::size_t limit, const TimeSpan &span);

    // Where the page ends whose end, but no start, comes after `offset`; 0 when there is none.
    std::size_t end_of_cut_page(std::size_t offset);

    // True when the blocks from `offset` on reach `end`, whatever comes after it.
    bool leads_to(std::size_t offset, std::size_t end) const;

    // True when the block that begins at `offset`, if one does, leads on and has no time but one in
    // the span.
    bool fits(std::size_t offset, const TimeSpan &span) const;

    // The first magic of a page, whole or not, from `from` on; the number of bytes without one.
    std::size_t find_page(std::size_t from);
    // True when there are more zeros between the two than a stream has.
    bool has_padding(std::size_t from, std::size_t to) const;

    // The first byte that isn't zero from `from` on; the number of bytes when there is none.
    std::size_t skip_zeros(std::size_t from) const;

    // True when a block may end at `offset`: with the bytes, before padding, or where
    // the next block begins.
    bool is_end(std::size_t offset) const;

    // True for a schemas block that names one in use whose file is missing.
    bool names_missing(Bytes block) const;

    // True when the block that begins at `offset` and those after it end where blocks may.
    bool leads_on(std::size_t offset) const;

  private:
    // Where a mark was found last, which answers all searches from `from` up to it.
    struct Found {
        std::size_t from = 1;
        std::size_t at = 0;
    };

    Bytes rest(std::size_t offset) const { return bytes_.subspan(offset); }
    bool begins_events(Bytes block) const;
    bool begins_schemas(Bytes block) const;
    bool names(const vrn_schema_id_t &id) const;
    bool begins_counters(Bytes block) const;
    std::size_t size_of(vrn_block_type_t kind, Bytes block) const;
    std::size_t find_mark(std::string_view mark, std::size_t from, std::size_t limit,
                          Found *found) const;

    Bytes bytes_;
    const scan::SchemasInUse *schemas_;
    SchemaTexts *texts_;
    Found block_;
    Found metrics_;
    Found page_start_;
    Found page_end_;
};

// True when a block of another kind than metrics may begin in `bytes`.
bool has_block_mark(Bytes bytes);

// Bytes up to the end of a metrics block that begins `rest`; 0 unless its size and its end agree.
std::size_t whole_metrics_size(Bytes rest);

}  // namespace vrn::check
