// One SQL statement and its result: the whole exchange with the DB manager happens in the constructor, afterwards the
// object is only read. Record classes reach it through libenvdb::query (query.h), which logs failures the same way for
// all of them.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <string_view>

#include "cbase/lasterror.h"
#include "libenvdb/associativearray.h"

namespace libenvdb {

struct SelectAnswer;

// Kinds of statement, as validate_query tells them.
inline constexpr int queryUnknown = 0;
inline constexpr int queryInsert = 1;
inline constexpr int queryDelete = 2;
inline constexpr int queryUpdate = 3;
inline constexpr int querySelect = 4;

// The port of the controller's DB manager.
inline constexpr int dbManagerPort = 45168;

class db_request {
  public:
    // Runs `query` through the DB manager on `port` (45168 or 45169). A failure leaves a last error; UPDATE and DELETE
    // report success also when the DB manager does not answer, since their answer carries nothing.
    db_request(int port, const char* query);
    db_request(const db_request&) = delete;
    db_request& operator=(const db_request&) = delete;
    ~db_request() = default;

    // The last error, at most 255 characters, or null when the request succeeded. Owned by this object.
    const char* get_last_error() const { return last_error.get(); }
    // ID of the row that an INSERT made; -1 when unknown.
    int get_last_insert_id() const { return last_insert_id; }
    // Whether the answer to an INSERT had a number where its ID stands. Without one the ID reads as 0.
    bool brought_insert_id() const { return insertIdBrought; }
    // Data rows of a SELECT; -1 when the answer could not be read.
    int get_rows_num() const { return rows_num; }
    // Columns of a SELECT; -1 when unknown.
    int get_fields_num() const { return fields_num; }
    const char* get_version() const;

    // Replaces the last error; a null format changes nothing.
    [[gnu::format(printf, 2, 3)]] void set_last_error(const char* format, ...);
    // Finds the kind of statement by the words in it: the last of INSERT, DELETE, UPDATE, SELECT that occurs anywhere
    // wins, so an INSERT followed by "SELECT last_insert_rowid()" is a SELECT and brings the new ID back as a row.
    // Returns 0, or -1 with the last error set.
    int validate_query(const char* query, int* type);

    // Results of a SELECT. Texts are owned by this object and live as long as it does; a row's values are the same
    // texts as in `fieldvalues`, whose keys are compared as pointers: one key object per column.
    std::multimap<int, char*> fieldnames;
    std::multimap<int, char*>::iterator fieldnames_it;
    std::multimap<char*, char*> fieldvalues;
    std::multimap<char*, char*>::iterator fieldvalues_it;
    std::multimap<int, AssociativeArray<char*>> rows;
    std::multimap<int, AssociativeArray<char*>>::iterator rows_it;

  private:
    void readInsertAnswer(const char* payload);
    void readSelectAnswer(const char* payload);
    void store(const SelectAnswer& answer);
    char* keep(std::string_view text);

    LastError last_error;
    int query_type = queryUnknown;
    int last_insert_id = -1;
    bool insertIdBrought = false;
    int rows_num = -1;
    int fields_num = -1;
    std::deque<std::string> texts;  // every name and value
};

}  // namespace libenvdb
