#include "scan/block_walk.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "data/magic.h"
#include "data/schema/event_rows.h"

namespace vrn::scan {

namespace {

// Offset of the next thing after the first byte that looks like an event or schemas block; the
// whole size when there is none.
std::size_t find_event_block(Bytes bytes) {
    for (std::size_t i = 1; i + VRN_MAGIC_SIZE < bytes.size(); ++i) {
        const auto *place =
            static_cast<const std::uint8_t *>(std::memchr(&bytes[i], 'V', bytes.size() - i));
        if (!place) break;
        i = static_cast<std::size_t>(place - bytes.data());
        if (i + VRN_MAGIC_SIZE >= bytes.size()) break;
        const auto *magic = reinterpret_cast<const char *>(place);
        if (vrn_magic_matches(magic, 'E') || vrn_magic_matches(magic, 'S')) return i;
    }
    return bytes.size();
}

// Walks one run of event and schemas blocks.
class EventRun {
  public:
    EventRun(const BlockRun &run, SchemasInUse *schemas, Visitor *visitor)
        : run_(run), schemas_(schemas), visitor_(visitor) {}

    Next walk() {
        std::size_t offset = 0;
        while (offset + VRN_MAGIC_SIZE < run_.bytes.size()) {
            std::size_t advance = 0;
            const Next next = step(offset, &advance);
            if (next == Next::run) return Next::block;
            if (next != Next::block) return next;
            offset += advance;
        }
        return Next::block;
    }

  private:
    Next step(std::size_t offset, std::size_t *advance) {
        const vrn_block_type_t kind = vrn_block_type_of(run_.bytes.data() + offset);
        if (kind == VRN_EVENTS_BLOCK) return step_events(offset, advance);
        const BlockRun rest = run_.from(offset);
        if (kind != VRN_SCHEMAS_BLOCK) return end_events(rest, kind, advance);
        type_ = nullptr;
        return step_schemas(rest, advance);
    }

    Next step_events(std::size_t offset, std::size_t *advance) {
        constexpr std::size_t header_size = sizeof(vrn_event_header_t);
        const Bytes block = run_.bytes.subspan(offset);
        const auto header = load_le<vrn_event_header_t>(block.data());
        if (!type_ || schema_index_ != header.schema_index || type_index_ != header.type_index)
            find_type(header);
        if (!type_) return report_type(run_.from(offset), header, advance);
        // A block that claims more rows than its run holds has the whole ones that are there.
        const std::size_t count = count_event_rows(*type_, header, block);
        const std::size_t size = count * type_->size;
        *advance = header_size + size;
        return visitor_->events({
            .type = type_,
            .header = header,
            .rows = {block.data() + (size > 0 ? header_size : 0), size},
            .count = count,
            .room = block.size(),
            .place_in_run = {&run_.place, offset},
        });
    }

    void find_type(const vrn_event_header_t &header) {
        schemas_->note_use();
        const vrn_type_system_t *system = schemas_->type_system();
        schema_index_ = header.schema_index;
        type_index_ = header.type_index;
        type_ = system ? vrn_type_system_find_type(system, schema_index_, type_index_) : nullptr;
    }

    Next report_type(const BlockRun &rest, const vrn_event_header_t &header, std::size_t *advance) {
        // Lookups use the low 8 bits; the field is 16 bits wide on disk.
        const auto type_index = static_cast<std::uint8_t>(header.type_index);
        return report(
            make_fault(FaultKind::type_unknown, rest.place, rest.bytes, 0,
                       "Type definition %u:%u not found", header.schema_index, type_index),
            rest, advance);
    }

    Next step_schemas(const BlockRun &rest, std::size_t *advance) {
        const std::size_t size = rest.bytes.size();
        const auto header = load_le<vrn_schemas_block_t>(rest.bytes.data());
        const auto report_bad = [&] {
            return report(make_fault(FaultKind::schemas_block_bad, rest.place, rest.bytes, 0,
                                     "Schemas block of %u bytes with %u ids doesn't hold",
                                     header.size, header.num_schema_ids),
                          rest, advance);
        };
        if (size < VRN_SCHEMAS_BLOCK_MIN_BYTES || size < header.size ||
            header.num_schema_ids > VRN_SCHEMAS_BLOCK_MAX_IDS)
            return report_bad();
        vrn_schema_id_t ids[VRN_SCHEMAS_BLOCK_MAX_IDS];
        std::copy_n(rest.bytes.data() + sizeof header, sizeof ids, &ids[0].bytes[0]);
        *advance = std::max<std::size_t>(header.size, VRN_MAGIC_SIZE);
        visitor_->schemas_block({VRN_SCHEMAS_BLOCK, rest.bytes, rest.place});
        // Later blocks may be of the schemas that are there.
        if (!schemas_->use(ids, header.num_schema_ids))
            return visitor_->fault(make_fault(FaultKind::schemas_missing, rest.place, rest.bytes,
                                              header.size,
                                              "Schemas of a schemas block can't be loaded"));
        // A block that leads nowhere has named its schemas all the same.
        return header.size == 0 ? report_bad() : Next::block;
    }

    Next end_events(const BlockRun &rest, vrn_block_type_t kind, std::size_t *advance) {
        visitor_->padding({kind, rest.bytes, rest.place});
        if (is_all_zero(rest.bytes)) return Next::run;
        return report(make_fault(FaultKind::not_a_block, rest.place, rest.bytes, 0,
                                 "No event block where one could begin"),
                      rest, advance);
    }

    // `advance` is set to what looks like the next block, which ends the run when there is none.
    Next report(Fault fault, const BlockRun &rest, std::size_t *advance) {
        *advance = find_event_block(rest.bytes);
        fault.lost = *advance;
        return visitor_->fault(fault);
    }

    const BlockRun &run_;
    SchemasInUse *schemas_;
    Visitor *visitor_;
    // Of the block before: mostly that of the next one, too.
    const vrn_type_definition_t *type_ = nullptr;
    std::uint8_t schema_index_ = 0;
    std::uint16_t type_index_ = 0;
};

}  // namespace

BlockRun BlockRun::from(std::size_t offset) const {
    return {bytes.subspan(offset), reach.subspan(offset), PlaceInRun{&place, offset}.get()};
}

Next BlockWalk::walk(const BlockRun &run) {
    const vrn_block_type_t kind = vrn_block_type_of(run.bytes.data());
    switch (kind) {
        case VRN_COUNTERS_BLOCK:
            if (schemas_->has_counters()) return show_counters(run);
            schemas_->note_use();
            return schemas_->lacks_counters() ? report_no_schema(run) : Next::block;
        case VRN_EVENTS_BLOCK:
        case VRN_SCHEMAS_BLOCK:
            if (schemas_->has_events()) return EventRun(run, schemas_, visitor_).walk();
            schemas_->note_use();
            if (!schemas_->lacks_events()) return Next::block;
            if (const Next next = report_no_schema(run); next != Next::block) return next;
            return EventRun(run, schemas_, visitor_).walk();  // a schemas block may name some
        case VRN_CNTX_BLOCK:
            return visitor_->metrics({kind, run.bytes, run.place});
        case VRN_BLOB_BLOCK:
            return visitor_->blob({kind, run.bytes, run.place});
        default:
            return report_unknown(run);
    }
}

Next BlockWalk::show_counters(const BlockRun &run) {
    constexpr std::size_t header_size = sizeof(vrn_data_block_t);
    const vrn_counters_schema_t *schema = schemas_->type_system()->counters_schema;
    const std::size_t held = run.bytes.size() - std::min(run.bytes.size(), header_size);
    return visitor_->counters({
        .schema = schema,
        .header = load_le<vrn_data_block_t>(run.bytes.data()),
        .row = run.reach.size() > header_size ? run.reach.subspan(header_size) : Bytes(),
        .held = std::min<std::size_t>(held, schema->size),
        .room = run.bytes.size(),
        .place = run.place,
    });
}

Next BlockWalk::report_no_schema(const BlockRun &run) {
    return visitor_->fault(make_fault(FaultKind::schema_none, run.place, run.bytes,
                                      run.bytes.size(), "No schema is named for a block"));
}

Next BlockWalk::report_unknown(const BlockRun &run) {
    const std::size_t offset = find_event_block(run.bytes);
    const Next next =
        visitor_->fault(make_fault(FaultKind::block_unknown, run.place, run.bytes, offset,
                                   "No kind of block: %02x %02x %02x %02x", run.bytes.data()[0],
                                   run.bytes.data()[1], run.bytes.data()[2], run.bytes.data()[3]));
    if (next != Next::block) return next;
    if (offset == run.bytes.size()) return Next::page;  // the chunk may still hold pages
    return walk(run.from(offset));
}

Fault make_fault(FaultKind kind, const Place &place, Bytes block, std::uint64_t lost,
                 const char *format, ...) {
    Fault fault = {kind, place, lost, block, ""};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(fault.reason, sizeof fault.reason, format, arguments);
    va_end(arguments);
    return fault;
}

bool is_all_zero(Bytes bytes) {
    return bytes.empty() ||
           (bytes[0] == 0 && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0);
}

}  // namespace vrn::scan
