#include "dbmanager/dbprotocol.h"

#include <algorithm>
#include <cstddef>

#include "common/text.h"

namespace lab {

namespace {

// Clients go by the lengths of these labels alone: 10, 11 and 11 characters, and 16 up to the ID of an INSERT.
constexpr std::string_view status_label = "Response: ";
constexpr std::string_view rows_label = "Num rows: ";
constexpr std::string_view fields_label = "Fields   : ";
constexpr std::string_view inserted_label = "Response: LastID";
constexpr std::string_view not_inserted_label = "Response: Error:";
static_assert(status_label.size() == 10 && rows_label.size() == 10 && fields_label.size() == 11 &&
              inserted_label.size() == 16 && not_inserted_label.size() == 16);

constexpr long longest_statement = 1L << 25U;

std::string row_label(size_t row) {
    return "Row " + zero_padded(static_cast<long>(row % 100'000), 5) + ": ";
}

// Values go out as they are: a comma or a line feed in one is the reader's problem, as it is with the real service.
void append_quoted(std::string& text, const Row& values) {
    for (size_t i = 0; i < values.size(); ++i) {
        text += i > 0 ? ",'" : "'";
        text += values[i];
        text += '\'';
    }
    text += '\n';
}

std::string status_line(int code) {
    // SQLite's extended codes hold the plain one in their low byte.
    return std::string(status_label) + "FSMC-" + zero_padded(code & 0xFF, 3) + "\n";
}

}  // namespace

DbParsed parse_db_request(std::string_view text, DbRequest& request) {
    LineReader reader(text);
    request.function = reader.line("Request: ");
    request.type = reader.line("Type: ");
    const long length = reader.number("Statement payload length: ", longest_statement);
    reader.skip("Statement: ");
    request.statement = reader.block(static_cast<size_t>(length));
    reader.block(0);
    return reader.state();
}

std::string compose_db_payload(const std::string& type, const QueryResult& result) {
    if (equal_ignoring_case(type, "INSERT")) {
        return result.ok() ? std::string(inserted_label) + " '" + std::to_string(result.last_insert_id) + "'\n"
                           : std::string(not_inserted_label) + " " + result.error + "\n";
    }
    std::string text = status_line(result.code);
    if (!equal_ignoring_case(type, "SELECT"))
        return text + (result.ok() ? "Changed: " + std::to_string(result.changes) : result.error) + "\n";
    text += rows_label;
    if (!result.ok()) return text + result.error + "\n";
    // No statement returned rows (an UPDATE typed SELECT because of a word in it): not even a header.
    if (!result.has_rows) return text + "0\n";
    text += std::to_string(result.rows.size() + 1) + "\n" + std::string(fields_label);
    append_quoted(text, result.columns);
    for (size_t i = 0; i < result.rows.size(); ++i) {
        text += row_label(i);
        append_quoted(text, result.rows[i]);
    }
    return text;
}

std::string compose_db_answer(const std::string& payload, long wrong_length) {
    const long length = std::max(0L, static_cast<long>(payload.size()) + wrong_length);
    return "Response payload length: " + std::to_string(length) + "\n" + payload;
}

}  // namespace lab
