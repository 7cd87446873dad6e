#pragma once

#include <ostream>
#include <string>
#include <vector>

/**
 * A table of plain text: each column as wide as its longest cell, two blanks between columns, no
 * blanks at the ends of lines.
 *
 * Threads: one thread at a time for each object.
 */
class TextTable {
 public:
  enum Alignment { Left, Right };
  struct Column {
    std::string title;
    Alignment alignment = Left;
  };

  explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /** One text for each column. */
  void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  void print(std::ostream& out) const;

 private:
  [[nodiscard]] std::vector<size_t> widths() const;
  [[nodiscard]] std::string line(const std::vector<std::string>& cells,
                                 const std::vector<size_t>& widths) const;

  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};
