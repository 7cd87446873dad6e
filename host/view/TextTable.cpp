#include "host/view/TextTable.h"

#include <algorithm>

std::vector<size_t> TextTable::widths() const {
  std::vector<size_t> widths;
  for (size_t i = 0; i < columns_.size(); ++i) {
    size_t width = columns_[i].title.size();
    for (const auto& row : rows_) width = std::max(width, row[i].size());
    widths.push_back(width);
  }
  return widths;
}

std::string TextTable::line(const std::vector<std::string>& cells,
                            const std::vector<size_t>& widths) const {
  std::string text;
  for (size_t i = 0; i < cells.size(); ++i) {
    const std::string blanks(widths[i] - cells[i].size(), ' ');
    if (i > 0) text += "  ";
    text += columns_[i].alignment == Right ? blanks + cells[i] : cells[i] + blanks;
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

void TextTable::print(std::ostream& out) const {
  const std::vector<size_t> sizes = widths();
  std::vector<std::string> titles;
  for (const Column& column : columns_) titles.push_back(column.title);
  out << line(titles, sizes) << "\n";
  for (const auto& row : rows_) out << line(row, sizes) << "\n";
}
