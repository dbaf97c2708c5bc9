#include "vrn_export/table_piece.h"

#include <charconv>
#include <string_view>

namespace vrn::exporter {
namespace {

bool take_number(std::string_view *rest, std::uint64_t *number) {
    const char *const end = rest->data() + rest->size();
    const auto [stop, error] = std::from_chars(rest->data(), end, *number);
    if (error != std::errc() || stop == end || *stop != ' ') return false;
    rest->remove_prefix(static_cast<std::size_t>(stop + 1 - rest->data()));
    return true;
}

}  // namespace

std::string piece_line(const TablePiece &piece) {
    return std::to_string(piece.head_size) + " " + std::to_string(piece.rows_size) + " " +
           piece.file + "\n";
}

bool parse_piece_line(const std::string &line, TablePiece *piece) {
    std::string_view rest = line;
    if (!take_number(&rest, &piece->head_size) || !take_number(&rest, &piece->rows_size))
        return false;
    // Who has written to the part must not choose where the table goes. No name of ours begins with
    // a dot.
    constexpr std::string_view never{"/\0", 2};
    if (rest.empty() || rest.front() == '.' || rest.find_first_of(never) != rest.npos) return false;
    piece->file = rest;
    return true;
}

}  // namespace vrn::exporter
