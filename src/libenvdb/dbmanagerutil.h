// One exchange with the DB manager: a fresh local connection, the statement out, the raw answer back. Used by
// db_request. Log lines begin with "DBManagerutil->".
#pragma once

// Sends `statement` to the DB manager on 127.0.0.1 and `port`, and waits for the answer without a time-out: the
// database is the controller's own, and there is nothing to do without it.
//
// `function` is "DML-SQL" or "DDL-SQL", `type` the kind of statement ("SELECT", ...), `length` the statement's bytes in
// decimal. On success returns 0 and the four outputs hold new heap texts that the caller frees: the answer's first
// line, "FSMC-000", the payload's length in decimal and the payload. On failure logs, leaves the outputs untouched and
// returns 308 (no connection), 309 (function or type not supported), 310 (not sent) or 311 (no well-formed answer).
int dbmanager_socket_request(int port, const char* function, const char* type, const char* length,
                             const char* statement, char** out_lengthline, char** out_status, char** out_payloadlength,
                             char** out_payload);

// A block for callers that read an answer themselves: its status, its rows. db_request needs none.
struct QueryResults {
    char* responseStatus;  // owned, null at first
    int rowCount;          // -1 at first
    char* unused;          // owned, null: kept for the block's known layout
};
// A new block, or null when memory is out.
QueryResults* queryresultsinit();
// Frees the block and its texts. Returns 0, or -1 for null.
int queryresultsfree(QueryResults* block);
