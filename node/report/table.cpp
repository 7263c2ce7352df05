#include "node/report/table.h"

#include <algorithm>
#include <utility>

#include "node/report/printable.h"

namespace report {
namespace {

constexpr const char* kIndent = "  ";
constexpr const char* kGap = "  ";

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

std::string Table::text() const {
    std::string text = title_ + "\n";
    if (rows_.empty()) return text + kIndent + "(none)\n";

    std::vector<std::string> titles;
    for (const Column& column : columns_) titles.push_back(column.title);
    text += line(titles);
    for (const std::vector<std::string>& row : rows_) text += line(row);
    return text;
}

std::string Table::line(const std::vector<std::string>& cells) const {
    std::string text = kIndent;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const std::string padding(widths_[i] - cells[i].size(), ' ');
        if (i > 0) text += kGap;
        text += columns_[i].align == Align::kLeft ? cells[i] + padding : padding + cells[i];
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text + "\n";
}

}  // namespace report
