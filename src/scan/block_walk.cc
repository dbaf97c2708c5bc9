#include "scan/block_walk.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "data/magic.h"

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

}  // namespace

BlockRun BlockRun::from(std::size_t offset) const {
    BlockRun rest = {bytes.subspan(offset), reach.subspan(offset), place};
    if (place.is_in_page)
        rest.place.in_page += offset;
    else
        rest.place.block += offset;
    rest.place.in_run += offset;
    return rest;
}

Next BlockWalk::walk(const BlockRun &run) {
    const vrn_block_type_t kind = vrn_block_type_of(run.bytes.data());
    switch (kind) {
        case VRN_COUNTERS_BLOCK:
            if (schemas_->has_counters()) return show_counters(run);
            return schemas_->lacks_counters() ? report_no_schema(run) : Next::block;
        case VRN_EVENTS_BLOCK:
        case VRN_SCHEMAS_BLOCK:
            if (schemas_->has_events()) return walk_events(run);
            if (!schemas_->lacks_events()) return Next::block;
            if (const Next next = report_no_schema(run); next != Next::block) return next;
            return walk_events(run);  // a schemas block may name some
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
        .place = run.place,
    });
}

Next BlockWalk::walk_events(const BlockRun &run) {
    std::size_t offset = 0;
    while (offset + VRN_MAGIC_SIZE < run.bytes.size()) {
        const BlockRun rest = run.from(offset);
        const vrn_block_type_t kind = vrn_block_type_of(rest.bytes.data());
        std::size_t advance = 0;
        const Next next = kind == VRN_EVENTS_BLOCK    ? step_events(rest, &advance)
                          : kind == VRN_SCHEMAS_BLOCK ? step_schemas(rest, &advance)
                                                      : end_events(rest, kind, &advance);
        if (next == Next::run) return Next::block;
        if (next != Next::block) return next;
        offset += advance;
    }
    return Next::block;
}

Next BlockWalk::step_events(const BlockRun &rest, std::size_t *advance) {
    constexpr std::size_t header_size = sizeof(vrn_event_header_t);
    const auto header = load_le<vrn_event_header_t>(rest.bytes.data());
    // Lookups use the low 8 bits; the field is 16 bits wide on disk.
    const auto type_index = static_cast<std::uint8_t>(header.type_index);
    const vrn_type_system_t *system = schemas_->type_system();
    const vrn_type_definition_t *type =
        system ? vrn_type_system_find_type(system, header.schema_index, type_index) : nullptr;
    if (!type) {
        return report_in_run(
            make_fault(FaultKind::type_unknown, rest.place, rest.bytes, 0,
                       "Type definition %u:%u not found", header.schema_index, type_index),
            rest, advance);
    }
    const std::size_t room = rest.bytes.size() - std::min(rest.bytes.size(), header_size);
    const std::size_t count = std::min<std::size_t>(header.num_events, room / type->size);
    *advance = header_size + count * type->size;
    return visitor_->events({
        .type = type,
        .header = header,
        .rows = count > 0 ? rest.bytes.subspan(header_size, count * type->size) : Bytes(),
        .count = count,
        .place = rest.place,
    });
}

Next BlockWalk::step_schemas(const BlockRun &rest, std::size_t *advance) {
    const std::size_t size = rest.bytes.size();
    const auto header = load_le<vrn_schemas_block_t>(rest.bytes.data());
    const auto report_bad = [&] {
        return report_in_run(make_fault(FaultKind::schemas_block_bad, rest.place, rest.bytes, 0,
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
    // Later blocks may be of the schemas that are there.
    if (!schemas_->use(ids, header.num_schema_ids))
        return visitor_->fault(make_fault(FaultKind::schemas_missing, rest.place, rest.bytes,
                                          header.size,
                                          "Schemas of a schemas block can't be loaded"));
    // A block that leads nowhere has named its schemas all the same.
    return header.size == 0 ? report_bad() : Next::block;
}

Next BlockWalk::end_events(const BlockRun &rest, vrn_block_type_t kind, std::size_t *advance) {
    visitor_->padding({kind, rest.bytes, rest.place});
    if (is_all_zero(rest.bytes)) return Next::run;
    return report_in_run(make_fault(FaultKind::not_a_block, rest.place, rest.bytes, 0,
                                    "No event block where one could begin"),
                         rest, advance);
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

// `advance` is set to what looks like the next block, which ends the run when there is none.
Next BlockWalk::report_in_run(Fault fault, const BlockRun &rest, std::size_t *advance) {
    *advance = find_event_block(rest.bytes);
    fault.lost = *advance;
    return visitor_->fault(fault);
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
