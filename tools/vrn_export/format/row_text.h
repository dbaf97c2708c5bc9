// Rows of one shape as text: pieces that are the same in all of them, each followed by a value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "data/text/number_text.h"
#include "data/text/text_buffer.h"
#include "data/text/value_text.h"
#include "vrn_export/format/record_encoder.h"
#include "vrn_export/format/row_value.h"

namespace vrn::exporter {

struct RowItem {
    std::string piece;  // before the value
    RowValue value;
};

// A Style says how values look; it has
//   std::string_view before_time(const Origin &), after_time(const Origin &),
//   char *write_time(char *out, std::uint64_t time), in at most 40 bytes,
//   char *write_double(char *out, double value, RecordCounts *counts), likewise,
//   char *write_text(char *out, Bytes field, TextBuffer *to): what stands before the first zero, in
//     at most 6 bytes for each and 2 more; `out` is the end of the text, whose room is reserved,
//   std::string_view missing, quote: what stands for no value, and around the texts of bits.
template <typename Style>
class RowText {
  public:
    // `end` closes the record.
    RowText(Style style, const std::vector<RowItem> &items, const std::string &end)
        : style_(std::move(style)) {
        for (const RowItem &item : items) {
            pieces_ += item.piece;
            values_.push_back({item.value, static_cast<std::uint32_t>(item.piece.size())});
            room_ += room_of(item.value);
        }
        pieces_ += end;
        end_size_ = end.size();
        room_ += pieces_.size() + short_room;
        pieces_.append(step, '\0');
    }

    // About what the text of a row takes at most.
    std::size_t room() const { return room_; }

    void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
               const Output &to) {
        const std::string_view before = style_.before_time(origin);
        const std::string_view after = style_.after_time(origin);
        // Once for the whole row: values are written without a look at the room.
        char *out = to.text->reserve(before.size() + after.size() + room_);
        out = copy(out, before);
        out = style_.write_time(out, time);
        out = copy(out, after);
        const char *piece = pieces_.data();
        for (const auto &[value, piece_size] : values_) {
            out = copy_in_steps(out, piece, piece_size);
            piece += piece_size;
            out = write_value(out, value, row, to);
        }
        to.text->advance_to(copy_in_steps(out, piece, end_size_));
    }

  private:
    // Pieces are copied in steps, so as much can be read after one.
    static constexpr std::size_t step = TextBuffer::slack;
    static constexpr std::size_t short_room = 40;  // of numbers and times

    struct Value {
        RowValue value;
        std::uint32_t piece_size;
    };

    static std::size_t room_of(const RowValue &value) {
        if (value.form == ValueForm::text) return std::size_t{value.size} * 6 + 2;
        const bool is_bits = value.form == ValueForm::bits64 || value.form == ValueForm::bits128;
        return is_bits ? VALUE_TEXT_ROOM + 2 : short_room;
    }

    static char *copy(char *out, std::string_view text) {
        if (!text.empty()) std::memcpy(out, text.data(), text.size());
        return out + text.size();
    }
    static char *copy_in_steps(char *out, const char *from, std::size_t size) {
        std::memcpy(out, from, step);
        for (std::size_t done = step; done < size; done += step)
            std::memcpy(out + done, from + done, step);
        return out + size;
    }

    // Numbers are most of all values: a call for each would cost more than its text.
    [[gnu::always_inline]] char *write_value(char *out, const RowValue &value,
                                             const std::uint8_t *row, const Output &to) {
        switch (value.form) {
            case ValueForm::unsigned_integer:
                return write_integer(out, read_unsigned(value, row));
            case ValueForm::signed_integer:
                return write_integer(out, read_signed(value, row));
            case ValueForm::float32:
            case ValueForm::float64:
                return style_.write_double(out, read_double(value, row), to.counts);
            default:
                return write_other(out, value, row, to);
        }
    }

    char *write_other(char *out, const RowValue &value, const std::uint8_t *row, const Output &to) {
        switch (value.form) {
            case ValueForm::text:
                return style_.write_text(out, read_bytes(value, row), to.text);
            case ValueForm::time:
                return style_.write_time(out, read_unsigned(value, row));
            case ValueForm::bits64:
            case ValueForm::bits128:
                out = copy(out, Style::quote);
                out = write_bits(out, value, row);
                return copy(out, Style::quote);
            case ValueForm::unsigned128:
            case ValueForm::signed128:
                return write_wide_integer(out, value, row);
            default:
                return copy(out, Style::missing);
        }
    }

    Style style_;
    std::string pieces_;
    std::vector<Value> values_;
    std::size_t end_size_;
    std::size_t room_ = 0;
};

template <typename Style>
class EventRowWriter final : public EventWriter {
  public:
    // Borrows `plan`.
    EventRowWriter(std::string table, const EventPlan &plan, RowText<Style> text)
        : EventWriter(std::move(table)), plan_(plan), text_(std::move(text)) {}

    void write(const EventRows &rows, const Origin &origin, const Output &out) override {
        for (std::size_t i = 0; i < rows.count; ++i) {
            const std::uint8_t *row = rows.row(i);
            text_.write(plan_.time_of(row, rows.block_time), row, origin, out);
        }
    }
    std::size_t row_text_size() const override { return text_.room(); }

  private:
    const EventPlan &plan_;
    RowText<Style> text_;
};

template <typename Style>
class GroupRowWriter final : public GroupWriter {
  public:
    GroupRowWriter(std::string table, RowText<Style> text)
        : GroupWriter(std::move(table)), text_(std::move(text)) {}

    void write(std::uint64_t time, const std::uint8_t *row, const Origin &origin,
               const Output &out) override {
        text_.write(time, row, origin, out);
    }

  private:
    RowText<Style> text_;
};

}  // namespace vrn::exporter
