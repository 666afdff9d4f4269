// What every command of `home` works on, and how it ends.
#pragma once

#include <iostream>
#include <string>

#include "common/database.h"

namespace lab {

struct Context {
    Database& database;
    std::string core_socket;
};

// Both return the command's exit status.
inline int complain(const std::string& problem) {
    std::cerr << "home: " << problem << std::endl;
    return 1;
}

inline int report(const QueryResult& result, const std::string& success) {
    if (!result.ok()) {
        return complain(result.error);
    }
    std::cout << success << std::endl;
    return 0;
}

}  // namespace lab
