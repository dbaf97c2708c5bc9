// What all formats share: which records come out of the blocks, with what faults. A format says
// how each kind of record is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vrn_export/format/counters_plan.h"
#include "vrn_export/format/encoder.h"
#include "vrn_export/format/event_plan.h"
#include "vrn_export/format/metrics_reader.h"
#include "vrn_export/format/record_selection.h"

namespace vrn::exporter {

// Where a record comes from. Texts may hold any bytes.
struct Origin {
    std::string source;
    std::string tag;
    std::uint64_t serial;  // another one whenever a text has changed
};

// Where a writer puts its text, and what it had to do to values.
struct Output {
    TextBuffer *text;
    RecordCounts *counts;
    std::uint64_t run = 0;  // another one for each run
};

struct EventRows {
    const std::uint8_t *first;
    std::size_t count;
    std::size_t row_size;
    std::uint64_t block_time;

    const std::uint8_t *row(std::size_t index) const { return first + index * row_size; }
};

// A writer belongs to the plan or to the encoder that it was made for, and lives as long.
class RecordWriter {
  public:
    // `table` is what its records go to: see Encoded::Table.
    explicit RecordWriter(std::string table) : table_(std::move(table)) {}
    virtual ~RecordWriter() = default;
    RecordWriter(const RecordWriter &) = delete;
    RecordWriter &operator=(const RecordWriter &) = delete;

    const std::string &table() const { return table_; }

  private:
    std::string table_;
};

class EventWriter : public RecordWriter {
  public:
    using RecordWriter::RecordWriter;
    // Rows are whole, with 8 bytes or more that can be read after each.
    virtual void write(const EventRows &rows, const Origin &origin, const Output &out) = 0;
    // About what the text of a row takes at most.
    virtual std::size_t row_text_size() const = 0;
};

class GroupWriter : public RecordWriter {
  public:
    using RecordWriter::RecordWriter;
    // `row` is whole, with 8 bytes or more that can be read after it.
    virtual void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
                       const Output &out) = 0;
};

class MetricsWriter : public RecordWriter {
  public:
    using RecordWriter::RecordWriter;
    virtual void write(const MetricRecord &record, const Origin &origin, const Output &out) = 0;
};

class HistogramWriter : public RecordWriter {
  public:
    using RecordWriter::RecordWriter;
    virtual void write(const HistogramRecord &record, const Origin &origin, const Output &out) = 0;
};

// How one format writes records; made once for an encoder. Plans are borrowed and outlive the
// writers made for them.
class RecordFormat {
  public:
    virtual ~RecordFormat() = default;
    virtual std::unique_ptr<EventWriter> event_writer(const EventPlan &plan) = 0;
    virtual std::unique_ptr<GroupWriter> group_writer(const GroupPlan &plan) = 0;
    virtual std::unique_ptr<MetricsWriter> metrics_writer() = 0;
    virtual std::unique_ptr<HistogramWriter> histogram_writer() = 0;
    // Text that may come of each byte of a run, before what all runs may have.
    virtual std::uint64_t text_per_byte() const { return 256; }
};

class RecordEncoder final : public Encoder {
  public:
    // Borrows `selection`.
    RecordEncoder(const RecordSelection *selection, std::unique_ptr<RecordFormat> format);

    void begin_file(const std::string &path, const vrn_data_file_header_t &header) override;
    void begin_run(Encoded *to) override;

    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override;
    scan::PageUse page(const scan::CompressedPage &page) override;
    scan::Next events(const scan::EventBatch &batch) override;
    scan::Next counters(const scan::CountersBlock &block) override;
    scan::Next metrics(const scan::PlainBlock &block) override;
    scan::Next fault(const scan::Fault &fault) override;

  private:
    // Where a writer's table is in the run at hand.
    struct TablePlace {
        std::uint64_t run = 0;
        std::size_t index = 0;
    };
    struct EventType {
        EventPlan plan;
        std::unique_ptr<EventWriter> writer;  // null: nothing of it is exported
        std::size_t rows_at_once = 1;
        TablePlace table;
    };
    struct Group {
        std::unique_ptr<GroupWriter> writer;
        TablePlace table;
    };

    void forget_schemas();
    void set_origin(Origin *origin, std::string_view source, std::string_view tag);
    const Origin *origin_of(const scan::Place &place) const;
    EventType &find_type(const vrn_type_definition_t *type);
    void plan_counters(const vrn_counters_schema_t *schema);
    bool write_rows(EventType *type, const EventRows &rows, const Origin &origin);
    bool write_slice(EventType *type, const EventRows &rows, const Origin &origin);
    template <typename Writer, typename Write>
    bool write_record(Writer &writer, TablePlace *place, Write write);
    Output output_of(const RecordWriter &writer, TablePlace *place);
    scan::Next report_cut(const scan::Place &place, std::size_t held);
    scan::Next refuse_type(const scan::Fault &fault);
    void report_no_schema(const scan::Fault &fault);
    scan::Next refuse_schemas(const scan::Fault &fault);
    void report(const scan::Place &place, std::uint64_t in_block, std::uint64_t lost,
                std::string_view kind, std::string reason);

    const RecordSelection &selection_;
    std::unique_ptr<RecordFormat> format_;
    std::unique_ptr<MetricsWriter> metrics_writer_;
    std::unique_ptr<HistogramWriter> histogram_writer_;
    TablePlace metrics_table_;
    TablePlace histogram_table_;
    // Its callbacks use the two below, which are set for each block.
    MetricsReader metrics_;
    scan::Place metrics_place_;
    const Origin *metrics_origin_ = nullptr;

    Encoded *to_ = nullptr;
    std::uint64_t run_ = 0;
    // Bytes of text that the run may still take: what its records have earned, less what was made.
    std::uint64_t text_room_ = 0;

    scan::SchemaIds file_ids_{};
    Origin file_origin_{};
    Origin page_origin_{};
    bool takes_file_origin_ = false;
    std::uint64_t last_serial_ = 0;

    std::shared_ptr<const scan::LoadedSchemas> schemas_;
    // By the types of `schemas_`.
    std::unordered_map<const vrn_type_definition_t *, std::unique_ptr<EventType>> types_;
    const vrn_type_definition_t *last_type_ = nullptr;
    // Of `last_type_`.
    EventType *last_found_ = nullptr;
    // That the groups were planned for.
    const vrn_counters_schema_t *counters_schema_ = nullptr;
    // Before the groups, whose writers borrow them: members go in reverse order.
    std::vector<GroupPlan> group_plans_;
    std::vector<Group> groups_;
};

}  // namespace vrn::exporter
