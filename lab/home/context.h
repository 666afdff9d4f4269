// What every command of `home` works on, and how it ends.
#pragma once

#include <string>
#include <vector>

#include "common/database.h"

namespace lab {

struct Context {
    Database& database;
    std::string core_socket;
};

// These return the command's exit status.
int complain(const std::string& problem);
int report(const QueryResult& result, const std::string& success);
// Prints the rows that `sql` finds.
int list(Context& context, const std::vector<std::string>& heads, const std::string& sql);

// The ID of the row that `sql` finds for its parameter `which`; empty, after a complaint about `what`, when there is
// none.
std::string find_id(Context& context, const std::string& sql, const std::string& what, const std::string& which);

}  // namespace lab
