// Prints rows of texts as a table for people.
#pragma once

#include <string>
#include <vector>

#include "common/database.h"

namespace lab {

// Columns as wide as their widest value, the last one as it is. Without rows: the heads and "(none)".
void print_table(const std::vector<std::string>& heads, const std::vector<Row>& rows);

}  // namespace lab
