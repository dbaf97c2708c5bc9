// Writers of events and counters for formats that write both row by row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "vrn_export/format/event_plan.h"
#include "vrn_export/format/record_encoder.h"

namespace vrn::exporter {

// `Rows` has write(time, row, origin, out) and text_size(), about what a row's text takes at most.
template <typename Rows>
class RowEvents final : public EventWriter {
  public:
    // Borrows `plan`.
    RowEvents(const EventPlan &plan, Rows rows)
        : EventWriter(""), plan_(plan), rows_(std::move(rows)) {}

    void write(const EventRows &rows, const Origin &origin, const Output &out) override {
        for (std::size_t i = 0; i < rows.count; ++i) {
            const std::uint8_t *row = rows.row(i);
            rows_.write(plan_.time_of(row, rows.block_time), row, origin, out);
        }
    }
    std::size_t row_text_size() const override { return rows_.text_size(); }

  private:
    const EventPlan &plan_;
    Rows rows_;
};

template <typename Rows>
class RowGroup final : public GroupWriter {
  public:
    explicit RowGroup(Rows rows) : GroupWriter(""), rows_(std::move(rows)) {}

    void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
               const Output &out) override {
        rows_.write(time, row, origin, out);
    }

  private:
    Rows rows_;
};

}  // namespace vrn::exporter
