#include "common/table.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

#include "common/text.h"

namespace lab {

namespace {

// Bytes that continue a UTF-8 character take no room.
size_t width_of(const std::string& text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), starts_character));
}

}  // namespace

std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows) {
    std::vector<size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width_of(row[i]));
    }
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const auto& row : rows) {
        std::string& line = lines.emplace_back();
        for (size_t i = 0; i < row.size(); ++i) line += row[i] + std::string(widths[i] - width_of(row[i]) + 2, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
    }
    return lines;
}

void print_table(const std::vector<std::string>& heads, std::vector<std::vector<std::string>> rows) {
    for (auto& row : rows) std::transform(row.begin(), row.end(), row.begin(), escaped);
    rows.insert(rows.begin(), heads);
    for (const std::string& line : aligned(rows)) std::cout << line << '\n';
    if (rows.size() == 1) std::cout << "(none)\n";
}

}  // namespace lab
