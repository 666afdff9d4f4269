// The text protocol of DBManager: one statement in, one framed answer out. Pure text, no sockets, no SQL.
#pragma once

#include <string>
#include <string_view>

#include "common/database.h"
#include "common/linereader.h"

namespace lab {

struct DbRequest {
    std::string function;
    std::string type;
    std::string statement;
};

using DbParsed = Parsed;

// Reads one request as received so far. It is complete with the statement's announced bytes, their line feed and
// the empty line: answering and closing before that line has come would reset the connection.
DbParsed parse_db_request(std::string_view text, DbRequest& request);

// The answer's payload for a statement of `type`. After an error a SELECT has the error text where its number of rows
// would be, and an INSERT where its ID would be, so that a client notices.
std::string compose_db_payload(const std::string& type, const QueryResult& result);

// The whole answer: the length line, wrong by `wrong_length` bytes, and the payload.
std::string compose_db_answer(const std::string& payload, long wrong_length);

}  // namespace lab
