// A table of text with aligned columns, for summaries made to be read.
#pragma once

#include <cstddef>
#include <cstdint>
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
    [[nodiscard]] std::string text() const { return text(kAnyWidth, 0); }
    // The same in lines of at most so many bytes, as far as single cells allow: what does not fit
    // stands below, behind the first columns once more, which say what a row is about.
    [[nodiscard]] std::string text(std::size_t width, std::size_t repeated) const;

    static constexpr std::size_t kAnyWidth = SIZE_MAX;

 private:
    using Shown = std::vector<std::size_t>;  // indices of columns

    [[nodiscard]] std::vector<Shown> fold(std::size_t width, std::size_t repeated) const;
    [[nodiscard]] std::string line(const std::vector<std::string>& cells, const Shown& shown) const;

    std::string title_;
    std::vector<Column> columns_;
    std::vector<std::size_t> widths_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace report
