// Records that are rows of one layout: events of a type, and counters.
#pragma once

#include <string>
#include <vector>

#include "sql/record_reader.h"

namespace vrn::sql {

// Rows that follow each other in steps of `stride` bytes.
struct StagedRows {
    const void *layout;  // the vrn_type_definition_t or vrn_counters_schema_t
    const std::uint8_t *first;
    std::size_t stride;
    std::size_t held;  // bytes of each row
    std::size_t count;
    const RecordNames *names;
};

class RowReader : public RecordReader {
  public:
    using RecordReader::RecordReader;

    const std::vector<StagedRows> &rows() const { return rows_; }
    // The owners of the layouts of `rows`.
    const std::vector<std::shared_ptr<const scan::LoadedSchemas>> &owners() const {
        return owners_;
    }

    void schemas(const std::shared_ptr<const scan::LoadedSchemas> &schemas) override {
        owners_.push_back(schemas);
    }

  protected:
    void begin_piece() override {
        rows_.clear();
        owners_.clear();
    }
    void stage(const StagedRows &rows);

  private:
    std::vector<StagedRows> rows_;
    std::vector<std::shared_ptr<const scan::LoadedSchemas>> owners_;
};

class EventReader final : public RowReader {
  public:
    EventReader(RunQueue *queue, const RecordFilter *filter, std::string type)
        : RowReader(queue, filter), type_(std::move(type)) {}

    scan::Next events(const scan::EventBatch &batch) override;

  protected:
    void begin_piece() override;

  private:
    std::string type_;
    const vrn_type_definition_t *last_ = nullptr;  // of the piece
    bool takes_last_ = false;
};

class CounterReader final : public RowReader {
  public:
    using RowReader::RowReader;

    scan::Next counters(const scan::CountersBlock &block) override;

  protected:
    void begin_piece() override;

  private:
    const vrn_counters_schema_t *last_ = nullptr;  // of the piece
    std::uint64_t extent_ = 0;
    // A deque, since staged rows point into it while it grows.
    std::deque<vrn_data_block_t> headers_;  // of blocks without a row
};

}  // namespace vrn::sql
