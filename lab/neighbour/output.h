// Text for a person: tables whose columns line up, and foreign text that cannot play tricks on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace neighbour {

// Control characters become \xHH, so that a name from the wire cannot move the cursor or break a line.
std::string printable(std::string_view text);

// The first `width` characters (code points; wide ones count as one).
std::string clipped(std::string_view text, std::size_t width);

using Row = std::vector<std::string>;

// Lines of the table. A column that is empty in each row after the first (the headings) is left out.
std::vector<std::string> table_lines(std::vector<Row> rows);

std::string joined(const std::vector<std::string>& texts, std::string_view separator);

}  // namespace neighbour
