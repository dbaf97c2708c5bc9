// Rows of tables in the part of one input, where they wait until the tables are joined.
#pragma once

#include <cstdint>
#include <string>

namespace vrn::exporter {

// A part is a list of pieces: a line, the head of the table, and rows of it. Head and rows are
// compressed as the table is, each for itself.
struct TablePiece {
    std::string file;             // of the table, without a folder
    std::uint64_t head_size = 0;  // bytes
    std::uint64_t rows_size = 0;
};

// With its end.
std::string piece_line(const TablePiece &piece);
// Of a line without its end. False when it is none, or names a file that isn't one of a folder.
[[nodiscard]] bool parse_piece_line(const std::string &line, TablePiece *piece);

}  // namespace vrn::exporter
