#include "Terminal/Table.h"

#include "Terminal/Text.h"

#include <algorithm>

namespace orvane::terminal {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastForTexts = 20;

} // namespace

std::vector<std::string> Table::lines(std::size_t columns) const {
    std::vector<std::vector<std::string>> rows = rows_;
    std::vector<std::string> headings;
    for (const Column& column : columns_) {
        headings.push_back(column.heading);
    }
    if (std::any_of(headings.begin(), headings.end(), [](const std::string& text) { return !text.empty(); })) {
        rows.insert(rows.begin(), headings);
    }
    const std::size_t last = columns_.size() - 1;
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < last; ++i) {
            widths[i] = std::max(widths[i], columnsOf(row[i]));
        }
    }
    std::size_t before = 0;
    for (std::size_t i = 0; i < last; ++i) {
        before += widths[i] + kGap;
    }
    // On a narrow terminal the last column stands below the others.
    const bool below = columns < before + kLeastForTexts && last > 0;
    const std::size_t indent = below ? 2 * kGap : before;
    const std::size_t room = columns > indent ? columns - indent : 1;

    std::vector<std::string> lines;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < last; ++i) {
            line += padded(row[i], widths[i], columns_[i].rightAligned) + std::string(kGap, ' ');
        }
        std::vector<std::string> parts = wrapped(row[last], room);
        if (below) {
            line.erase(line.find_last_not_of(' ') + 1);
            lines.push_back(cut(line, columns));
        } else {
            line += parts.empty() ? std::string() : cut(parts.front(), room);
            line.erase(line.find_last_not_of(' ') + 1);
            lines.push_back(line);
            parts.erase(parts.begin(), parts.begin() + (parts.empty() ? 0 : 1));
        }
        for (const std::string& part : parts) {
            lines.push_back(std::string(indent, ' ') + cut(part, room));
        }
    }
    return lines;
}

} // namespace orvane::terminal
