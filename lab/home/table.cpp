#include "home/table.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

#include "common/text.h"

namespace lab {

namespace {

// What a terminal shows as one character: bytes that continue a UTF-8 character take no room.
size_t width_of(const std::string& text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(),
                                             [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

void print_row(const Row& row, const std::vector<size_t>& widths) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
        const std::string cell = escaped(row[i]);
        line += cell;
        if (i + 1 < row.size()) {
            line.append(widths[i] - std::min(widths[i], width_of(cell)) + 2, ' ');
        }
    }
    std::cout << line << '\n';
}

}  // namespace

void print_table(const std::vector<std::string>& heads, const std::vector<Row>& rows) {
    std::vector<size_t> widths(heads.size());
    for (size_t i = 0; i < heads.size(); ++i) {
        widths[i] = width_of(heads[i]);
        for (const Row& row : rows) {
            widths[i] = std::max(widths[i], i < row.size() ? width_of(escaped(row[i])) : 0);
        }
    }
    print_row(heads, widths);
    for (const Row& row : rows) {
        print_row(row, widths);
    }
    if (rows.empty()) {
        std::cout << "(none)\n";
    }
}

}  // namespace lab
