#include "vrn_export/text_output.h"

#include <utility>

namespace vrn::exporter {
namespace {

constexpr std::size_t sorted_piece = 1 << 20;  // bytes of sorted lines that go out at a time

}  // namespace

TextOutput::TextOutput(const TextForm &form, const std::string &table, Write write)
    : form_(form), write_(std::move(write)) {
    // Lines of all pieces are sorted as one, so nothing of them goes out before finish().
    if (form.format.sorts_lines()) spool_.emplace(form.spool_folder, form.spool_memory);
    if (const std::string head = form.format.head(table); !head.empty()) write_text(head);
}

void TextOutput::add(std::string_view piece) {
    if (spool_)
        spool_->add(piece);
    else
        write(piece);
}

void TextOutput::finish() {
    if (spool_) write_sorted();
    const std::string tail = form_.format.tail();
    // No bytes at all are no compressed file.
    const bool is_nothing = bytes_ == 0 && form_.compression != Compression::none;
    if (!tail.empty() || is_nothing) write_text(tail);
}

void TextOutput::write_sorted() {
    TextBuffer piece;
    spool_->drain([&](std::string_view line) {
        piece.append(line);
        if (piece.size() < sorted_piece) return;
        write_text(piece.view());
        piece.clear();
    });
    if (piece.size() > 0) write_text(piece.view());
}

void TextOutput::write_text(std::string_view text) {
    TextBuffer packed;
    Compressor(form_.compression).pack(text, &packed);
    write(packed.view());
}

void TextOutput::write(std::string_view packed) {
    write_(packed);
    bytes_ += packed.size();
}

}  // namespace vrn::exporter
