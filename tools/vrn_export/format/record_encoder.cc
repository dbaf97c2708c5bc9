#include "vrn_export/format/record_encoder.h"

#include <algorithm>

#include "common/fault_kind.h"
#include "data/magic.h"
#include "scan/missing_rows.h"
#include "utils/byte_reader.h"

namespace vrn::exporter {
namespace {

using scan::FaultKind;
using scan::Next;
using scan::PageUse;

// Names and labels are repeated in each record, so that a few bytes could become endless text.
// Usual records stay far below.
constexpr std::uint64_t spare_text = 64 << 20;
// Text that is made before its size is looked at again.
constexpr std::size_t slice_size = 1 << 20;

constexpr char too_much_text[] = "text_limit";

}  // namespace

RecordEncoder::RecordEncoder(const RecordSelection *selection, std::unique_ptr<RecordFormat> format)
    : selection_(*selection),
      format_(std::move(format)),
      metrics_writer_(format_->metrics_writer()),
      histogram_writer_(format_->histogram_writer()),
      metrics_(
          selection,
          {.record =
               [this](const MetricRecord &record) {
                   to_->counts.samples += record.samples.size();
                   return write_record(*metrics_writer_, &metrics_table_, [&](auto out) {
                       metrics_writer_->write(record, *metrics_origin_, out);
                   });
               },
           .histogram =
               [this](const HistogramRecord &record) {
                   to_->counts.histograms += 1;
                   return write_record(*histogram_writer_, &histogram_table_, [&](auto out) {
                       histogram_writer_->write(record, *metrics_origin_, out);
                   });
               },
           .fault =
               [this](std::size_t offset, std::size_t lost, const char *kind, std::string reason) {
                   report(metrics_place_, offset, lost, kind, std::move(reason));
               }}) {}

void RecordEncoder::begin_file(const std::string & /*path*/, const vrn_data_file_header_t &header) {
    file_ids_ = scan::make_schema_ids(header.event_schema_ids, VRN_EVENT_SCHEMA_IDS,
                                      header.counters_schema_id);
    set_origin(&file_origin_, field_text(header.source_id), field_text(header.source_tag));
    takes_file_origin_ = selection_.takes_origin(file_origin_.source, file_origin_.tag);
}

void RecordEncoder::begin_run(Encoded *to) {
    to_ = to;
    // Whatever writers know of their tables is of an earlier run now.
    ++run_;
    text_room_ = spare_text;
}

void RecordEncoder::set_origin(Origin *origin, std::string_view source, std::string_view tag) {
    // Writers keep the text of an origin until its serial changes.
    if (origin->serial != 0 && origin->source == source && origin->tag == tag) return;
    origin->source = source;
    origin->tag = tag;
    origin->serial = ++last_serial_;
}

// Null when it isn't selected.
const Origin *RecordEncoder::origin_of(const scan::Place &place) const {
    if (place.is_in_page) return &page_origin_;  // a page that isn't selected is passed over
    return takes_file_origin_ ? &file_origin_ : nullptr;
}

void RecordEncoder::schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) {
    if (schemas_ == schemas) return;
    // While the old schemas live: plans borrow their types.
    forget_schemas();
    schemas_ = schemas;
}

void RecordEncoder::forget_schemas() {
    types_.clear();
    last_type_ = nullptr;
    counters_schema_ = nullptr;
    // Writers before the plans that they borrow.
    groups_.clear();
    group_plans_.clear();
}

PageUse RecordEncoder::page(const scan::CompressedPage &page) {
    // A page that is passed over need not be decompressed.
    if (!selection_.takes_times(page.fields.first_timestamp, page.fields.last_timestamp))
        return PageUse::pass_over;
    const vrn_source_t names = page.source();
    const std::string_view source = field_text(names.source), tag = field_text(names.tag);
    // A page may leave its names to the file.
    if (source.empty() && tag.empty())
        set_origin(&page_origin_, file_origin_.source, file_origin_.tag);
    else
        set_origin(&page_origin_, source, tag);
    return selection_.takes_origin(page_origin_.source, page_origin_.tag) ? PageUse::blocks
                                                                          : PageUse::pass_over;
}

Next RecordEncoder::events(const scan::EventBatch &batch) {
    // Earned by the bytes that were read, selected or not.
    text_room_ += format_->text_per_byte() * (sizeof batch.header + batch.rows.size());
    const scan::Place place = batch.place();
    if (batch.room < sizeof batch.header) return report_cut(place, batch.room);
    const Origin *origin = origin_of(place);
    if (origin && batch.count > 0) {
        EventType &type = batch.type == last_type_ ? *last_found_ : find_type(batch.type);
        const EventRows rows = {batch.rows.data(), batch.count, batch.type->size,
                                batch.header.timestamp};
        if (type.plan.is_too_wide)
            report(place, 0, batch.rows.size(), "type_too_wide",
                   "Rows of type '" + std::string(batch.type->name) + "' have too many values");
        else if (type.writer && !write_rows(&type, rows, *origin))
            report(place, 0, batch.rows.size(), too_much_text,
                   "Rows of type '" + std::string(batch.type->name) + "' become too much text");
    }
    if (batch.count == batch.header.num_events) return Next::block;
    report(place, sizeof batch.header + batch.rows.size(),
           (batch.header.num_events - batch.count) * batch.type->size, "rows_cut",
           scan::missing_rows(batch));
    return Next::run;
}

Next RecordEncoder::report_cut(const scan::Place &place, std::size_t held) {
    report(place, 0, held, "block_cut", scan::cut_header);
    return Next::run;
}

RecordEncoder::EventType &RecordEncoder::find_type(const vrn_type_definition_t *type) {
    std::unique_ptr<EventType> &found = types_[type];
    if (!found) {
        // At its last address before the writer is made, which borrows the plan.
        auto made = std::make_unique<EventType>();
        made->plan = make_event_plan(*type, selection_);
        if (!made->plan.fields.empty() && !made->plan.is_too_wide) {
            made->writer = format_->event_writer(made->plan);
            made->rows_at_once =
                std::max<std::size_t>(1, slice_size / (made->writer->row_text_size() + 1));
        }
        found = std::move(made);
    }
    // Blocks of one type mostly follow each other.
    last_type_ = type;
    last_found_ = found.get();
    return *found;
}

// Writes the runs of rows whose times are selected. False when there is no room for all.
bool RecordEncoder::write_rows(EventType *type, const EventRows &rows, const Origin &origin) {
    if (selection_.takes_all_times()) return write_slice(type, rows, origin);
    const auto is_taken = [&](std::size_t index) {
        return selection_.takes_time(type->plan.time_of(rows.row(index), rows.block_time));
    };
    for (std::size_t i = 0; i < rows.count;) {
        const std::size_t first = i;
        while (i < rows.count && is_taken(i)) ++i;
        if (i > first &&
            !write_slice(type, {rows.row(first), i - first, rows.row_size, rows.block_time},
                         origin))
            return false;
        if (i == first) ++i;
    }
    return true;
}

bool RecordEncoder::write_slice(EventType *type, const EventRows &rows, const Origin &origin) {
    for (std::size_t done = 0; done < rows.count;) {
        const EventRows slice = {rows.row(done), std::min(type->rows_at_once, rows.count - done),
                                 rows.row_size, rows.block_time};
        if (!write_record(*type->writer, &type->table,
                          [&](auto out) { type->writer->write(slice, origin, out); }))
            return false;
        to_->counts.events += slice.count;
        done += slice.count;
    }
    return true;
}

Next RecordEncoder::counters(const scan::CountersBlock &block) {
    text_room_ += format_->text_per_byte() * (sizeof block.header + block.held);
    if (block.room < sizeof block.header) return report_cut(block.place, block.room);
    const Origin *origin = origin_of(block.place);
    // Groups may lie anywhere in the row, so a row that is cut is left out whole.
    if (block.held < block.schema->size) {
        report(block.place, sizeof block.header + block.held, block.schema->size - block.held,
               "rows_cut", scan::missing_rows(block));
        return Next::block;
    }
    if (!origin || !selection_.takes_time(block.header.timestamp)) return Next::block;
    if (counters_schema_ != block.schema) plan_counters(block.schema);
    for (Group &group : groups_) {
        const auto write = [&](auto out) {
            group.writer->write(block.header.timestamp, block.row.data(), *origin, out);
        };
        if (!write_record(*group.writer, &group.table, write)) {
            report(block.place, 0, block.schema->size, too_much_text,
                   "Rows of counters become too much text");
            break;
        }
        ++to_->counts.counters;
    }
    return Next::block;
}

void RecordEncoder::plan_counters(const vrn_counters_schema_t *schema) {
    groups_.clear();
    group_plans_ = make_group_plans(*schema, selection_);
    for (const GroupPlan &plan : group_plans_) groups_.push_back({format_->group_writer(plan), {}});
    counters_schema_ = schema;
}

Next RecordEncoder::metrics(const scan::PlainBlock &block) {
    text_room_ += format_->text_per_byte() * block.bytes.size();
    // For the callbacks, which know offsets in the block only.
    metrics_place_ = block.place;
    metrics_origin_ = origin_of(block.place);
    if (metrics_origin_ && selection_.takes_metrics()) metrics_.read(block.bytes);
    return Next::block;
}

// False, with nothing written, when the run has no room for more text.
template <typename Writer, typename Write>
bool RecordEncoder::write_record(Writer &writer, TablePlace *place, Write write) {
    // The last record may exceed the room: its size is known only once it is written.
    if (text_room_ == 0) return false;
    const Output out = output_of(writer, place);
    const std::size_t before = out.text->size();
    write(out);
    text_room_ -= std::min<std::uint64_t>(text_room_, out.text->size() - before);
    return true;
}

Output RecordEncoder::output_of(const RecordWriter &writer, TablePlace *place) {
    // An index and no pointer: another writer's table may move them all.
    if (place->run != run_) {
        place->run = run_;
        place->index = to_->find_table(writer.table());
    }
    return {&to_->tables[place->index].text, &to_->counts, run_};
}

Next RecordEncoder::fault(const scan::Fault &fault) {
    switch (fault.kind) {
        case FaultKind::header_cut:
        case FaultKind::header_bad:
        case FaultKind::block_size_bad:
            report(fault.place, 0, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
            return Next::nothing;
        case FaultKind::schemas_missing:
            return refuse_schemas(fault);
        case FaultKind::schema_none:
        case FaultKind::type_unknown:
            return refuse_type(fault);
        case FaultKind::page_damaged:
            report(fault.place, 0, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
            return Next::page;
        case FaultKind::no_memory:
            report(fault.place, 0, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
            return fault.block.empty() ? Next::nothing : Next::page;
        default:
            report(fault.place, 0, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
            return Next::block;
    }
}

// Those that the header names are told when the file is opened.
Next RecordEncoder::refuse_schemas(const scan::Fault &fault) {
    if (!schemas_ || schemas_->ids == file_ids_) return Next::block;
    report(fault.place, 0, 0, tool::schemas_fault_name(*schemas_),
           schemas_->messages.empty() ? fault.reason : schemas_->messages.front().text);
    return Next::block;
}

// What lacks a schema that didn't load is told by that fault.
Next RecordEncoder::refuse_type(const scan::Fault &fault) {
    const bool is_counters = vrn_block_type_of(fault.block.data()) == VRN_COUNTERS_BLOCK;
    if (is_counters) {
        const bool is_told = schemas_ && !vrn_schema_id_is_zero(&schemas_->ids.counters);
        if (selection_.takes_counters() && !is_told) report_no_schema(fault);
        return Next::block;
    }
    // Of a run of events, each block is told; a schemas block may name their schemas.
    if (!selection_.takes_events() || fault.kind == FaultKind::schema_none) return Next::block;
    if (fault.block.size() < sizeof(vrn_event_header_t))
        return report_cut(fault.place, fault.block.size());
    const std::uint8_t index = load_le<vrn_event_header_t>(fault.block.data()).schema_index;
    const vrn_type_system_t *system = schemas_ ? schemas_->type_system.get() : nullptr;
    if (!system || index >= system->num_schemas)
        report_no_schema(fault);
    else if (schemas_->is_whole || system->schemas[index]->num_types > 0)
        report(fault.place, 0, fault.lost, tool::fault_kind_name(fault.kind), fault.reason);
    return Next::block;
}

// In the same words for all, so that they are one fault where they follow each other.
void RecordEncoder::report_no_schema(const scan::Fault &fault) {
    report(fault.place, 0, fault.lost, tool::fault_kind_name(FaultKind::schema_none),
           "No schema is named for what stands here");
}

void RecordEncoder::report(const scan::Place &place, std::uint64_t in_block, std::uint64_t lost,
                           std::string_view kind, std::string reason) {
    // Within a page offsets are of its decompressed bytes, and no places in the file.
    append_fault({.offset = place.block + (place.is_in_page ? 0 : in_block),
                  .length = lost,
                  .kind = std::string(kind),
                  .reason = std::move(reason)},
                 &to_->faults);
}

}  // namespace vrn::exporter
