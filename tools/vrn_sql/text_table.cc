#include "vrn_sql/text_table.h"

#include <algorithm>
#include <cstdio>

#include "common/shown_text.h"

namespace vrn::sqltool {
namespace {

constexpr std::size_t rows_for_widths = 1000;
constexpr std::size_t min_rule = 3;  // of Markdown

// Characters, as far as UTF-8 tells.
std::size_t width_of(const std::string &text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// Only for the side that a column is aligned to: the letters are those of 1e9, inf and nan.
bool looks_like_number(const std::string &text) {
    return text.find_first_not_of("0123456789+-.eEinfa") == text.npos;
}

}  // namespace

// Nothing in a cell begins a line or moves the cursor.
std::string TextTable::cell_of(std::string_view text) const {
    if (!text.data()) return style_ == TableStyle::terminal ? "NULL" : "";
    std::string shown = tool::shown_text(text);
    if (style_ == TableStyle::terminal) return shown;
    std::string escaped;
    for (const char letter : shown) {
        // A bar would end the cell.
        if (letter == '|') escaped += '\\';
        escaped += letter;
    }
    return escaped;
}

void TextTable::begin(const std::vector<std::string> &names) {
    names_.reserve(names.size());
    for (const std::string &name : names) names_.push_back(cell_of(name));
}

void TextTable::add(const Row &row) {
    Cells cells;
    cells.reserve(row.size());
    for (const std::string_view text : row) cells.push_back(cell_of(text));
    if (is_settled_) return print(cells);
    first_rows_.push_back(std::move(cells));
    if (first_rows_.size() == rows_for_widths) settle();
}

void TextTable::end() {
    if (!is_settled_) settle();
}

void TextTable::settle() {
    is_settled_ = true;
    for (std::size_t i = 0; i < names_.size(); ++i) {
        widths_.push_back(std::max(width_of(names_[i]), min_rule));
        is_number_.push_back(!first_rows_.empty());
        for (const Cells &row : first_rows_) {
            widths_[i] = std::max(widths_[i], width_of(row[i]));
            is_number_[i] = is_number_[i] && (row[i] == cell_of({}) || looks_like_number(row[i]));
        }
    }
    print(names_);
    print_rule();
    for (const Cells &row : first_rows_) print(row);
    first_rows_.clear();
}

void TextTable::print(const Cells &cells) const {
    std::string line = style_ == TableStyle::markdown ? "| " : "";
    const std::string_view between = style_ == TableStyle::markdown ? " | " : "  ";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0) line += between;
        const std::size_t width = width_of(cells[i]);
        const std::string pad(width < widths_[i] ? widths_[i] - width : 0, ' ');
        line += is_number_[i] ? pad + cells[i] : cells[i] + pad;
    }
    if (style_ == TableStyle::markdown)
        line += " |";
    else
        // Of blanks alone nothing is found, and npos + 1 is 0: the line becomes empty.
        line.erase(line.find_last_not_of(' ') + 1);
    std::printf("%s\n", line.c_str());
}

void TextTable::print_rule() const {
    std::string line = style_ == TableStyle::markdown ? "|" : "";
    for (std::size_t i = 0; i < names_.size(); ++i) {
        if (style_ == TableStyle::markdown)
            line += " " + std::string(widths_[i] - 1, '-') + (is_number_[i] ? ":" : "-") + " |";
        else
            line += (i > 0 ? "  " : "") + std::string(widths_[i], '-');
    }
    std::printf("%s\n", line.c_str());
}

}  // namespace vrn::sqltool
