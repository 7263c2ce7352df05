// A table of text with aligned columns, for summaries made to be read.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace report {

enum class Align { kLeft, kRight };

struct Column {
    std::string title;
    Align align = Align::kRight;
};

class Table {
 public:
    Table(std::string title, std::vector<Column> columns);

    // One cell a column. Control bytes, as a file's name may have, are escaped: a row is a line.
    void add(std::vector<std::string> row);

    // Title, header, rows; "(none)" in place of them when there is no row.
    [[nodiscard]] std::string text() const;

 private:
    [[nodiscard]] std::string line(const std::vector<std::string>& cells) const;

    std::string title_;
    std::vector<Column> columns_;
    std::vector<std::size_t> widths_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace report
