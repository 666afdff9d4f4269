#include "libenvdb/query.h"

#include <strings.h>

#include <new>

#include "cbase/logging.h"
#include "cbase/numbers.h"

namespace libenvdb {

namespace {

std::unique_ptr<db_request> make_request(const std::string& sql) {
    try {
        return std::make_unique<db_request>(dbManagerPort, sql.c_str());
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

std::unique_ptr<db_request> query(const std::string& sql, const QueryTexts& texts) {
    auto request = make_request(sql);
    if (!request) {
        error("%s error connecting to DB manager%s", texts.unit, texts.ending);
    } else if (request->get_last_error() != nullptr) {
        error("%s query error from velk server: %s%s", texts.queryUnit, request->get_last_error(), texts.ending);
        request.reset();
    }
    return request;
}

const AssociativeArray<char*>* first_row(const db_request& answer) {
    return answer.get_rows_num() > 0 && !answer.rows.empty() ? &answer.rows.begin()->second : nullptr;
}

bool has_value(const AssociativeArray<char*>& row, const char* column) {
    const char* value = row.value(column);
    return value != nullptr && *value != '\0';
}

long number_in(const AssociativeArray<char*>& row, const char* column) {
    return to_number(row.value(column));
}

std::string text_in(const AssociativeArray<char*>& row, const char* column) {
    const char* value = row.value(column);
    return value == nullptr ? std::string() : std::string(value);
}

const char* first_value_named(const db_request& answer, const char* column) {
    for (const auto& [index, row] : answer.rows)
        for (const auto& item : row)
            if (strcasecmp(item.second.c_str(), column) == 0) return item.first;
    return nullptr;
}

}  // namespace libenvdb
