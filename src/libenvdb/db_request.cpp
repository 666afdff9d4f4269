#include "libenvdb/db_request.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstring>

#include "cbase/memory.h"
#include "cbase/version.h"
#include "libenvdb/dbanswer.h"
#include "libenvdb/dbmanagerutil.h"

namespace libenvdb {

namespace {

constexpr int secondDbManagerPort = 45169;

struct QueryKind {
    const char* word;
    int type;
};
// The last one that occurs in a statement is its kind.
constexpr std::array kinds{QueryKind{"INSERT", queryInsert}, QueryKind{"DELETE", queryDelete},
                           QueryKind{"UPDATE", queryUpdate}, QueryKind{"SELECT", querySelect}};

const char* type_text(int type) {
    for (const QueryKind& kind : kinds)
        if (kind.type == type) return kind.word;
    return nullptr;
}

}  // namespace

db_request::db_request(int port, const char* query) {
    if (port != dbManagerPort && port != secondDbManagerPort) {
        set_last_error("db_request::db_request error database service port <%d> unsupported", port);
        return;
    }
    if (query == nullptr) {
        set_last_error("db_request::db_request error query is NULL");
        return;
    }
    if (validate_query(query, &query_type) != 0) {
        const std::string nested = get_last_error();
        set_last_error("db_request::db_request error cannot validate <%s> as SQL query, nested error is <%s>", query,
                       nested.c_str());
        return;
    }
    const char* type = type_text(query_type);
    if (type == nullptr) {
        set_last_error("db_request::db_request error unrecognized type of query <%d> between supported", query_type);
        return;
    }

    std::array<char*, 4> outputs{};  // length line, status, payload length, payload
    const std::string length = std::to_string(std::strlen(query));
    const int result = dbmanager_socket_request(port, "DML-SQL", type, length.c_str(), query, outputs.data(),
                                                &outputs[1], &outputs[2], &outputs[3]);
    const std::array<XText, 4> owners{XText(outputs[0]), XText(outputs[1]), XText(outputs[2]), XText(outputs[3])};
    if (result < 0) {
        set_last_error("db_request::db_request error calling dbmanager_socket_request <%d>", result);
        return;
    }
    // The positive codes are no failure here: the payload is empty then, which a SELECT cannot be read from.
    const char* payload = outputs[3] == nullptr ? "" : outputs[3];
    if (query_type == queryInsert) readInsertAnswer(payload);
    if (query_type == querySelect) readSelectAnswer(payload);
}

void db_request::readInsertAnswer(const char* payload) {
    std::string number;
    const auto id = parse_insert_id(payload, number);
    if (!id) {
        set_last_error("db_request::db_request error calling strtol to convert last_insert_id <%s> to number",
                       number.c_str());
        return;
    }
    last_insert_id = static_cast<int>(*id);
    insertIdBrought = last_insert_id != 0 || number.starts_with('0');
}

void db_request::readSelectAnswer(const char* payload) {
    std::string reason;
    if (const auto answer = parse_select(payload, reason)) {
        store(*answer);
    } else {
        set_last_error("%s", reason.c_str());
    }
}

void db_request::store(const SelectAnswer& answer) {
    std::vector<std::string> names(answer.columns.begin(), answer.columns.end());
    std::vector<char*> keys;
    for (std::size_t column = 0; column < names.size(); ++column) {
        keys.push_back(keep(answer.columns[column]));
        fieldnames.emplace(static_cast<int>(column), keys.back());
    }
    for (std::size_t row = 0; row < answer.rows.size(); ++row) {
        AssociativeArray<char*> items;
        items.reserve(keys.size());
        for (std::size_t column = 0; column < keys.size(); ++column) {
            char* value = keep(answer.rows[row][column]);
            items.AddItem(names[column], value);
            fieldvalues.emplace(keys[column], value);
        }
        rows.emplace_hint(rows.end(), static_cast<int>(row), std::move(items));
    }
    fields_num = static_cast<int>(answer.columns.size());
    rows_num = static_cast<int>(answer.rows.size());
}

char* db_request::keep(std::string_view text) {
    return texts.emplace_back(text).data();
}

const char* db_request::get_version() const {
    return version::libenvdb;
}

void db_request::set_last_error(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    last_error.set(format, arguments);
    va_end(arguments);
}

int db_request::validate_query(const char* query, int* type) {
    if (query == nullptr) {
        set_last_error("db_request::validate_query error query is NULL");
        return -1;
    }
    const auto kind = std::find_if(kinds.rbegin(), kinds.rend(), [query](const QueryKind& candidate) {
        return strcasestr(query, candidate.word) != nullptr;
    });
    *type = kind == kinds.rend() ? queryUnknown : kind->type;
    if (*type == queryUnknown) {
        set_last_error("db_request::validate_query error query <%s> is not in recognizable format", query);
        return -1;
    }
    return 0;
}

}  // namespace libenvdb
