#include "output.h"

#include <algorithm>

namespace neighbour {
namespace {

bool starts_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
}

}  // namespace

std::string printable(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        auto byte = static_cast<unsigned char>(text[at]);
        // U+0080 to U+009F are control characters too: the byte c2 and one below a0.
        const bool secondSet = byte == 0xc2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xa0;
        if (secondSet) byte = static_cast<unsigned char>(text[++at]);
        if (secondSet || byte < 0x20 || byte == 0x7f) {
            out += "\\x";
            out += digits[byte >> 4U];
            out += digits[byte & 0x0fU];
        } else {
            out += text[at];
        }
    }
    return out;
}

std::size_t display_width(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), starts_character));
}

std::string clipped(std::string_view text, std::size_t width) {
    std::size_t end = 0;
    for (std::size_t shown = 0; end < text.size(); ++end) {
        if (starts_character(text[end]) && shown++ == width) break;
    }
    return std::string(text.substr(0, end));
}

std::vector<std::string> table_lines(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths;
    std::vector<bool> used;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        widths.resize(std::max(widths.size(), rows[row].size()));
        used.resize(widths.size());
        for (std::size_t column = 0; column < rows[row].size(); ++column) {
            widths[column] = std::max(widths[column], display_width(rows[row][column]));
            if (row > 0 && !rows[row][column].empty()) used[column] = true;
        }
    }
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (!used[column]) continue;
            line += row[column] + std::string(widths[column] - display_width(row[column]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(std::move(line));
    }
    return lines;
}

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
    std::string out;
    for (const std::string& text : texts) {
        if (!out.empty()) out += separator;
        out += text;
    }
    return out;
}

}  // namespace neighbour
