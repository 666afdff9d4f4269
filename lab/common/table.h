// Rows of texts as a table for people.
#pragma once

#include <string>
#include <vector>

namespace lab {

// A line per row, columns two blanks apart and as wide as their widest text (a UTF-8 character counts as one).
std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows);

// Prints values, escaped, under their heads. Without rows: the heads and "(none)".
void print_table(const std::vector<std::string>& heads, std::vector<std::vector<std::string>> rows);

}  // namespace lab
