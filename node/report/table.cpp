#include "node/report/table.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "node/report/printable.h"

namespace report {
namespace {

constexpr std::string_view kGap = "  ";  // in front of each cell

}  // namespace

Table::Table(std::string title, std::vector<Column> columns)
    : title_(std::move(title)), columns_(std::move(columns)) {
    for (const Column& column : columns_) widths_.push_back(column.title.size());
}

void Table::add(std::vector<std::string> row) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        row[i] = printable(row[i]);
        widths_[i] = std::max(widths_[i], row[i].size());
    }
    rows_.push_back(std::move(row));
}

std::string Table::text(std::size_t width, std::size_t repeated) const {
    std::string text = title_ + "\n";
    if (rows_.empty()) return text + "  (none)\n";

    std::vector<std::string> titles;
    for (const Column& column : columns_) titles.push_back(column.title);
    bool is_first = true;
    for (const Shown& shown : fold(width, repeated)) {
        if (!std::exchange(is_first, false)) text += "\n";
        text += line(titles, shown);
        for (const std::vector<std::string>& row : rows_) text += line(row, shown);
    }
    return text;
}

// Each has the repeated columns and at least one more.
std::vector<Table::Shown> Table::fold(std::size_t width, std::size_t repeated) const {
    std::vector<Shown> folded(1);
    std::size_t used = 0;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (used + kGap.size() + widths_[i] > width && folded.back().size() > repeated) {
            const Shown& first = folded.front();
            folded.emplace_back(first.begin(),
                                first.begin() + static_cast<std::ptrdiff_t>(repeated));
            used = 0;
            for (const std::size_t column : folded.back()) used += kGap.size() + widths_[column];
        }
        folded.back().push_back(i);
        used += kGap.size() + widths_[i];
    }
    return folded;
}

std::string Table::line(const std::vector<std::string>& cells, const Shown& shown) const {
    std::string text;
    for (const std::size_t i : shown) {
        const std::string padding(widths_[i] - cells[i].size(), ' ');
        text += kGap;
        text += columns_[i].align == Align::kLeft ? cells[i] + padding : padding + cells[i];
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text + "\n";
}

}  // namespace report
