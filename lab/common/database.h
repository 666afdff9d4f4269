// The home's SQLite file, as all three tools open it. Statements are prepared each time, values come back as text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace lab {

using Row = std::vector<std::string>;

// What a text of one or more statements came to.
struct QueryResult {
    int code = 0;       // SQLite's code: 0 when every statement succeeded
    std::string error;  // SQLite's text, when the code is not 0
    bool has_rows = false;
    std::vector<std::string> columns;  // of the last statement that returns rows, as are `rows`
    std::vector<Row> rows;             // NULL as an empty text
    int64_t last_insert_id = 0;
    int64_t changes = 0;  // rows changed by all statements together

    bool ok() const { return code == 0; }
    // The first value of the first row; empty when there is none.
    std::string value() const { return rows.empty() || rows[0].empty() ? std::string() : rows[0][0]; }
};

class Database {
  public:
    // Opens an existing file. Check good() before use; problem() has the reason.
    explicit Database(const std::string& path);
    bool good() const { return problem_.empty(); }
    const std::string& problem() const { return problem_; }

    // Runs every statement in `sql`, stopping at the first error; what came before it stays done. `parameters` are
    // bound as texts to the ? marks of the first statement.
    QueryResult run(std::string_view sql, const std::vector<std::string>& parameters = {});

  private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };
    std::unique_ptr<sqlite3, Close> handle_;
    std::string problem_;
};

// Makes a database at `path` from SQL texts, unless the file is there. It appears whole or not at all, so that nobody
// sees a half-filled one. Returns an empty text, or what went wrong.
std::string create_database(const std::string& path, const std::vector<std::string>& scripts);

}  // namespace lab
