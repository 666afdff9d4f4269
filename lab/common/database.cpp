#include "common/database.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace lab {

namespace {

struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

// Three processes share the file: a short lock of another one is waited for.
constexpr int busy_milliseconds = 5000;

// A demo home may be lost when the machine loses power; without these every write would wait for the disk.
const char* const settings = "PRAGMA synchronous=OFF; PRAGMA journal_mode=MEMORY; PRAGMA foreign_keys=OFF;";

std::string text_of(sqlite3_stmt* statement, int column) {
    const unsigned char* text = sqlite3_column_text(statement, column);
    const int length = sqlite3_column_bytes(statement, column);
    return text == nullptr ? std::string() : std::string(text, text + length);
}

int run_one(sqlite3_stmt* statement, QueryResult& result) {
    const int columns = sqlite3_column_count(statement);
    if (columns > 0) {
        result.has_rows = true;
        result.columns.clear();
        result.rows.clear();
        for (int i = 0; i < columns; ++i) result.columns.emplace_back(sqlite3_column_name(statement, i));
    }
    int code = SQLITE_OK;
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
        Row& row = result.rows.emplace_back();
        row.reserve(static_cast<size_t>(columns));
        for (int i = 0; i < columns; ++i) row.push_back(text_of(statement, i));
    }
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

}  // namespace

void Database::Close::operator()(sqlite3* handle) const {
    sqlite3_close(handle);
}

Database::Database(const std::string& path) {
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK) {
        problem_ = path + ": " + sqlite3_errstr(code);
        return;
    }
    sqlite3_busy_timeout(handle, busy_milliseconds);
    const QueryResult set = run(settings);
    if (!set.ok()) problem_ = path + ": " + set.error;
}

QueryResult Database::run(std::string_view sql, const std::vector<std::string>& parameters) {
    QueryResult result;
    const int64_t changes_before = sqlite3_total_changes64(handle_.get());
    bool first = true;
    while (result.ok() && !sql.empty()) {
        sqlite3_stmt* prepared = nullptr;
        const char* tail = nullptr;
        result.code = sqlite3_prepare_v2(handle_.get(), sql.data(), static_cast<int>(sql.size()), &prepared, &tail);
        const Statement statement(prepared);
        if (result.ok() && statement) {
            for (size_t i = 0; first && i < parameters.size(); ++i) {
                sqlite3_bind_text(prepared, static_cast<int>(i) + 1, parameters[i].data(),
                                  static_cast<int>(parameters[i].size()),
                                  nullptr);  // null: static, the texts outlive the statement
            }
            first = false;
            result.code = run_one(prepared, result);
        }
        if (!result.ok()) result.error = sqlite3_errmsg(handle_.get());
        // No tail, or one that does not move on, ends the text (a zero byte does so too).
        if (tail == nullptr || tail == sql.data()) break;
        sql.remove_prefix(static_cast<size_t>(tail - sql.data()));
    }
    result.last_insert_id = sqlite3_last_insert_rowid(handle_.get());
    result.changes = sqlite3_total_changes64(handle_.get()) - changes_before;
    return result;
}

std::string create_database(const std::string& path, const std::vector<std::string>& scripts) {
    std::error_code error;
    if (std::filesystem::exists(path, error)) return {};
    const std::string draft = path + ".new." + std::to_string(::getpid());
    sqlite3* made = nullptr;
    const int code = sqlite3_open_v2(draft.c_str(), &made, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    sqlite3_close(made);
    if (code != SQLITE_OK) return draft + ": " + sqlite3_errstr(code);
    std::string problem;
    {
        Database database(draft);
        problem = database.problem();
        for (const std::string& script : scripts) {
            if (problem.empty()) problem = database.run("BEGIN; " + script + "; COMMIT;").error;
        }
    }
    if (problem.empty()) {
        std::filesystem::rename(draft, path, error);
        problem = error ? path + ": " + error.message() : "";
    }
    std::filesystem::remove(draft, error);
    return problem;
}

}  // namespace lab
