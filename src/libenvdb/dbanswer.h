// The DB manager's answers, text in and values out: the framing of an answer on its connection, and the rows of a
// SELECT. No sockets and no logging, so that tests and fuzzers feed them directly.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace libenvdb {

// Collects one answer from the pieces in which it arrives: "Response payload length: L\n", then a payload of L bytes
// that begins with "Response: ". The pieces may be cut anywhere.
class AnswerCollector {
  public:
    enum class State { incomplete, complete, malformed };

    // Largest payload accepted; no answer comes near it, and a length of a service gone wild must not fill the memory.
    static constexpr long payloadLimit = 16L * 1024 * 1024;

    // Appends received bytes and says where the answer stands.
    State add(std::string_view bytes);

    // The whole first line, once it is there.
    const std::string& lengthLine() const { return lengthLine_; }
    // What has come from the tag on, up to the first zero byte; valid when complete.
    std::string payload() const;

  private:
    State readLengthLine();

    std::string received_;
    std::string lengthLine_;
    long announced_ = -1;         // payload bytes, -1 until the length line is there
    std::size_t tagArea_ = 0;     // first byte after the length line
    std::size_t searchFrom_ = 0;  // first place where the payload's tag may still begin
    std::size_t payloadStart_ = std::string::npos;
};

// The rows of a SELECT: column names, and as many values per row. Views point into the payload.
struct SelectAnswer {
    std::string_view status;  // after "Response: "
    std::vector<std::string_view> columns;
    std::vector<std::vector<std::string_view>> rows;  // values that the row lacks are empty
};

// Parses the payload of a SELECT. On failure returns nothing and leaves the reason, without length limit, in `error`.
// Data lines that were announced but did not come are no rows.
std::optional<SelectAnswer> parse_select(std::string_view payload, std::string& error);

// The new row's ID from the payload of an INSERT: the number after 16 characters of tag and label, 0 when there is
// none. Nothing when it is out of range; `text` receives what was read as the number.
std::optional<long> parse_insert_id(std::string_view payload, std::string& text);

}  // namespace libenvdb
