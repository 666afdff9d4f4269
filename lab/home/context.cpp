#include "home/context.h"

#include <iostream>

#include "common/table.h"

namespace lab {

int complain(const std::string& problem) {
    std::cerr << "home: " << problem << std::endl;
    return 1;
}

int report(const QueryResult& result, const std::string& success) {
    if (!result.ok()) return complain(result.error);
    std::cout << success << std::endl;
    return 0;
}

int list(Context& context, const std::vector<std::string>& heads, const std::string& sql) {
    const QueryResult found = context.database.run(sql);
    print_table(heads, found.rows);
    return found.ok() ? 0 : complain(found.error);
}

std::string find_id(Context& context, const std::string& sql, const std::string& what, const std::string& which) {
    std::string id = context.database.run(sql, {which}).value();
    if (id.empty()) complain("there is no " + what + " " + which);
    return id;
}

}  // namespace lab
