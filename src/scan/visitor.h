// What a scan meets, in file order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "counters/counters_schema.h"
#include "data/block.h"
#include "data/compressed_page.h"
#include "data/data_file_header.h"
#include "data/schema/type_definition.h"
#include "scan/fault.h"
#include "scan/loaded_schemas.h"
#include "utils/byte_reader.h"

namespace vrn::scan {

struct EventBatch {
    const vrn_type_definition_t *type;
    vrn_event_header_t header;
    Bytes rows;         // `count` rows of `type->size` bytes
    std::size_t count;  // whole rows that are there: the header may claim more
    std::size_t room;   // bytes from the block's first on; zeros stand in for a header's others
    PlaceInRun place_in_run;

    Place place() const { return place_in_run.get(); }
    const std::uint8_t *row(std::size_t index) const { return rows.data() + index * type->size; }
};

struct CountersBlock {
    const vrn_counters_schema_t *schema;
    vrn_data_block_t header;
    Bytes row;         // values, as far as the buffer goes: after `held` come bytes of other blocks
    std::size_t held;  // bytes of the row that the file holds; the whole row has `schema->size`
    std::size_t room;  // as in EventBatch
    Place place;
};

struct PlainBlock {
    vrn_block_type_t kind;
    Bytes bytes;
    Place place;
};

struct CompressedPage {
    const std::uint8_t *header;  // at `header_size`, as the functions of compressed_page.h want it
    vrn_compressed_page_header_t fields;
    Bytes block;  // magics included
    Place place;

    // Logs a line when the stream has no size.
    std::uint64_t decoded_size() const { return vrn_compressed_page_uncompressed_size(header); }
    vrn_source_t source() const {
        vrn_source_t names{};
        vrn_pascal_strings_to_source(header, &names);
        return names;
    }
};

enum class PageUse : std::uint8_t {
    blocks,     // decode it and walk its blocks
    payload,    // decode it and give all of its bytes
    pass_over,  // leave it out
    fail_file,
};

// Everything is passed over unless a visitor says otherwise. Bytes are views into the scan's
// buffers, valid until the call returns. A record that a visitor can't take it answers like a
// fault; Next::block means that all is well.
class Visitor {
  public:
    virtual ~Visitor() = default;

    // The header as it was read, before it is checked.
    virtual void header(const vrn_data_file_header_t & /*header*/) {}
    // Header and schemas are there; false leaves the blocks out, which is no failure.
    [[nodiscard]] virtual bool begin() { return true; }
    // A schemas block whose sizes hold.
    virtual void schemas_block(const PlainBlock & /*block*/) {}
    // What events and counters are decoded by from now on.
    virtual void schemas(const std::shared_ptr<const LoadedSchemas> & /*schemas*/) {}

    virtual PageUse page(const CompressedPage & /*page*/) { return PageUse::blocks; }
    virtual Next payload(const CompressedPage & /*page*/, Bytes /*bytes*/) { return Next::block; }
    // The blocks in `bytes`, which are all of the page, come next.
    virtual void decoded(const CompressedPage & /*page*/, Bytes /*bytes*/) {}
    // What is too short for another block of a page; may be empty.
    virtual void page_tail(const PlainBlock & /*rest*/) {}
    // The run of pages of a chunk ended before `rest`, which is empty at the chunk's end.
    virtual Next pages_end(Bytes /*rest*/) { return Next::block; }

    virtual Next events(const EventBatch & /*batch*/) { return Next::block; }
    virtual Next counters(const CountersBlock & /*block*/) { return Next::block; }
    // A CNTX block; bytes that follow it may be padding or blocks of the same kind.
    virtual Next metrics(const PlainBlock & /*block*/) { return Next::block; }
    virtual Next blob(const PlainBlock & /*block*/) { return Next::block; }
    // What follows the last block of a run of events.
    virtual void padding(const PlainBlock & /*rest*/) {}

    // The chunk was walked, whatever came of it.
    virtual void chunk_end() {}

    virtual Next fault(const Fault & /*fault*/) { return Next::nothing; }
};

}  // namespace vrn::scan
