#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orvane::terminal {

/// Rows of cells in columns. Where the whole is wider than the terminal, the last column is wrapped, or cut where even
/// that leaves it too little room.
class Table {
  public:
    struct Column {
        std::string heading;
        bool rightAligned = false;
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    /// As many cells as columns, fit to be shown.
    void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    /// The lines, of at most so many columns each; with the headings as the first when there are any.
    [[nodiscard]] std::vector<std::string> lines(std::size_t columns) const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace orvane::terminal
