#include "convert/report/table.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/text/utf8.hpp"

namespace zun::convert {

namespace {

using Row = std::vector<std::string>;

std::string line_of(const std::vector<TableColumn>& columns, const std::vector<std::size_t>& widths,
                    const Row& row) {
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string padding(widths[i] - count_characters(row[i]), ' ');
        const bool right = columns[i].align == TableColumn::Align::RIGHT;
        line += "  " + (right ? padding + row[i] : row[i] + padding);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + '\n';
}

}  // namespace

void print_table(std::ostream& out, const std::vector<TableColumn>& columns, const std::vector<Row>& rows) {
    if (rows.empty()) return;
    Row titles;
    std::vector<std::size_t> widths;
    for (const TableColumn& column : columns) {
        titles.push_back(column.title);
        widths.push_back(std::max(column.least_width, count_characters(column.title)));
    }
    for (const Row& row : rows)
        for (std::size_t i = 0; i < columns.size(); ++i)
            widths[i] = std::max(widths[i], count_characters(row[i]));
    out << line_of(columns, widths, titles);
    for (const Row& row : rows)
        out << line_of(columns, widths, row);
}

std::string with_separators(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, 1, ',');
    return text;
}

std::string counted(std::uint64_t count, const std::string& noun, const std::string& plural_end) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : plural_end);
}

std::string size_text(std::uint64_t bytes) {
    static constexpr std::array<const char*, 5> units = {"B", "kB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= 999.5 && unit + 1 < units.size(); ++unit)
        value /= 1000;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), unit > 0 && value < 99.95 ? "%.1f %s" : "%.0f %s", value,
                  units[unit]);
    return text.data();
}

}  // namespace zun::convert
