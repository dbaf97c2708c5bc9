// The metrics blocks of a query, and the way through the records of one.
#pragma once

#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "metrics/cntx_block_view.h"
#include "metrics/record_view.h"
#include "sql/record_reader.h"

namespace vrn::sql {

struct StagedBlock {
    Bytes block;
    // Of the reader, until its next piece.
    const RecordNames *names;
};

class MetricsReader final : public RecordReader {
  public:
    using RecordReader::RecordReader;

    const std::vector<StagedBlock> &blocks() const { return blocks_; }
    scan::Next metrics(const scan::PlainBlock &block) override;

  protected:
    void begin_piece() override { blocks_.clear(); }

  private:
    std::vector<StagedBlock> blocks_;
};

// Names and values of labels, each name once.
using Labels = std::vector<std::pair<std::string_view, std::string_view>>;

// Reads the records of one block after the other. Views of the block are valid as long as it is.
class MetricsCursor {
  public:
    // Throws std::runtime_error when the block's tables are damaged.
    void begin(Bytes block);
    // The next record; false after the last one. What of it the tables lack is told by fault().
    // Throws std::runtime_error when the rest of the block is damaged.
    bool next();

    const metrics::RecordHeader &header() const { return header_; }
    const metrics::RecordView &record() const { return record_; }
    const std::vector<std::string_view> &metric_names() const { return view_.metric_names; }
    // Of the record: the block's constants, overwritten by its own.
    const Labels &labels() const { return labels_; }
    const std::string &fault() const { return fault_; }

  private:
    void read_constants(Bytes block);
    std::size_t read_labels();
    void set_label(std::size_t index, std::string_view value);

    metrics::CntxBlockView view_;
    Labels constants_;
    std::unordered_map<std::string_view, std::size_t> constant_places_;
    std::vector<std::string_view> set_names_;  // of the label set read last
    std::size_t set_id_ = 0;
    std::size_t offset_ = 0;  // of the next record
    std::size_t labels_left_ = 0;
    metrics::RecordHeader header_;
    metrics::RecordView record_;
    Labels labels_;
    std::string fault_;
};

}  // namespace vrn::sql
