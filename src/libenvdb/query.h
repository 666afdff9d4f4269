// The calling convention that every record shares: one statement through the DB manager, a failure logged in the
// operation's own words. Also the one way to write a value into a statement and to read one out of a row.
#pragma once

#include <memory>
#include <string>
#include <type_traits>

#include "libenvdb/db_request.h"

namespace libenvdb {

// How the log lines of an operation begin and end: "`unit` error connecting to DB manager`ending`" and
// "`queryUnit` query error from velk server: %s`ending`". The two units differ where a text is known to name another
// one.
struct QueryTexts {
    const char* unit;
    const char* queryUnit;
    const char* ending;

    // The usual case: one unit for both texts, nothing after them.
    QueryTexts(const char* operation, const char* end = "") : unit(operation), queryUnit(operation), ending(end) {}
    QueryTexts(const char* connectUnit, const char* errorUnit, const char* end)
        : unit(connectUnit), queryUnit(errorUnit), ending(end) {}
};

// Runs `sql`. The request, to be read and dropped by the caller; null after logging when it failed.
std::unique_ptr<db_request> query(const std::string& sql, const QueryTexts& texts);

// A value as it stands in a statement: in single quotes, without any escaping.
inline std::string quoted(const std::string& value) {
    return "'" + value + "'";
}
template <class Number>
requires std::is_arithmetic_v<Number> std::string quoted(Number value) {
    return quoted(std::to_string(value));
}

// The first row of an answer, or null when it has none.
const AssociativeArray<char*>* first_row(const db_request& answer);

// Whether a row's column has a value. A row that was cut has empty values: without its ID it cannot be read.
bool has_value(const AssociativeArray<char*>& row, const char* column);
// The value of a row's column as a decimal number; 0 when the column is missing or not a number.
long number_in(const AssociativeArray<char*>& row, const char* column);
// The value of a row's column; empty when the column is missing.
std::string text_in(const AssociativeArray<char*>& row, const char* column);

// The first value, over all rows, of the column whose name is `column` without regard to case; null when there is none.
const char* first_value_named(const db_request& answer, const char* column);

}  // namespace libenvdb
