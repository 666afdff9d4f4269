#include "neighbour/output.h"

#include <algorithm>

#include "common/table.h"
#include "common/text.h"

namespace neighbour {
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

std::string clipped(std::string_view text, std::size_t width) {
    std::size_t end = 0;
    for (std::size_t shown = 0; end < text.size(); ++end) {
        if (lab::starts_character(text[end]) && shown++ == width) break;
    }
    return std::string(text.substr(0, end));
}

std::vector<std::string> table_lines(std::vector<Row> rows) {
    for (std::size_t column = rows.empty() ? 0 : rows.front().size(); column-- > 0;) {
        const auto empty = [column](const Row& row) { return row.at(column).empty(); };
        if (!std::all_of(rows.begin() + 1, rows.end(), empty)) continue;
        for (Row& row : rows) row.erase(row.begin() + static_cast<std::ptrdiff_t>(column));
    }
    return lab::aligned(rows);
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
