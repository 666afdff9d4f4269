#include "dbmanager/dbservice.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <utility>

#include "common/text.h"
#include "dbmanager/dbprotocol.h"

namespace lab {

namespace {

// The codes that SQLite itself would give: 1 a general error, 21 misuse of the interface.
constexpr int general_error = 1;
constexpr int misuse = 21;

bool is_known(const DbRequest& request) {
    constexpr std::array<std::string_view, 7> types{"CREATE-TRIGGER", "DROP-TRIGGER", "INSERT", "UPDATE",
                                                    "DELETE",         "TRANSACTION",  "SELECT"};
    return (equal_ignoring_case(request.function, "DML-SQL") || equal_ignoring_case(request.function, "DDL-SQL")) &&
           std::any_of(types.begin(), types.end(),
                       [&](std::string_view type) { return equal_ignoring_case(type, request.type); });
}

QueryResult failure(int code, std::string text) {
    QueryResult result;
    result.code = code;
    result.error = std::move(text);
    return result;
}

}  // namespace

bool DbService::complete(std::string_view received) const {
    DbRequest request;
    return parse_db_request(received, request) != DbParsed::incomplete;
}

void DbService::note(const std::string& request) {
    DbRequest parsed;
    if (parse_db_request(request, parsed) == DbParsed::complete) {
        journal_.write({parsed.type, parsed.statement});
    } else {
        journal_.write({"MALFORMED", request});
    }
}

std::string DbService::answer(const std::string& request, const Fault& fault) {
    DbRequest parsed;
    QueryResult result;
    if (parse_db_request(request, parsed) != DbParsed::complete || !is_known(parsed)) {
        result = failure(misuse, "malformed request");
    } else if (fault.sql_error) {
        result = failure(general_error, *fault.sql_error);
    } else {
        result = database_.run(parsed.statement);
        if (!result.ok()) std::cout << "dbmanager: " << result.error << ": " << escaped(parsed.statement) << std::endl;
    }
    return compose_db_answer(compose_db_payload(parsed.type, result), fault.wrong_length);
}

}  // namespace lab
