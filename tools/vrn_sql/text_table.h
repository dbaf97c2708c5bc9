// Rows of texts in columns, for people.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vrn_sql/database.h"

namespace vrn::sqltool {

enum class TableStyle { terminal, markdown };

// Prints to standard output. The widths are those of the first rows, so that memory stays flat.
class TextTable {
  public:
    explicit TextTable(TableStyle style) : style_(style) {}

    void begin(const std::vector<std::string> &names);
    void add(const Row &row);
    void end();

  private:
    using Cells = std::vector<std::string>;

    std::string cell_of(std::string_view text) const;
    void settle();
    void print(const Cells &cells) const;
    void print_rule() const;

    TableStyle style_;
    Cells names_;
    std::vector<Cells> first_rows_;
    bool is_settled_ = false;
    std::vector<std::size_t> widths_;
    std::vector<bool> is_number_;
};

}  // namespace vrn::sqltool
