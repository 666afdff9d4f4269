#include "libenvdb/dbanswer.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "cbase/numbers.h"

namespace libenvdb {

namespace {

constexpr std::string_view lengthTag = "Response payload length: ";
constexpr std::string_view payloadTag = "Response: ";
constexpr std::size_t longestLengthLine = 64;  // the tag and any number that makes sense
constexpr std::size_t numrowsLabel = 10;       // characters before the number of rows
constexpr std::size_t rowLabel = 11;           // characters before the header and before each row
constexpr std::size_t insertLabel = 16;        // characters before the ID of an INSERT
constexpr std::size_t mostColumns = 512;       // no table has as many

bool same_ignoring_case(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string_view without_first(std::string_view text, std::size_t count) {
    return text.substr(std::min(count, text.size()));
}

// A name or value without the mark on each side of it, whatever the mark is.
std::string_view unquoted(std::string_view piece) {
    return piece.size() < 2 ? std::string_view() : piece.substr(1, piece.size() - 2);
}

// Takes the next line off `rest`; nothing when the text is used up. A text has one line more than line feeds.
std::optional<std::string_view> next_line(std::optional<std::string_view>& rest) {
    if (!rest) return std::nullopt;
    const std::size_t end = rest->find('\n');
    const std::string_view line = rest->substr(0, end);
    if (end == std::string_view::npos) {
        rest.reset();
    } else {
        rest->remove_prefix(end + 1);
    }
    return line;
}

// Splits at commas into exactly `count` pieces without their marks; pieces that are missing are empty.
std::vector<std::string_view> split_values(std::string_view text, std::size_t count) {
    std::vector<std::string_view> values;
    values.reserve(count);
    while (values.size() < count) {
        const std::size_t comma = text.find(',');
        values.push_back(unquoted(text.substr(0, comma)));
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    }
    return values;
}

// How many of the last bytes of `text`, not before `from`, may be the beginning of the payload's tag.
std::size_t begun_tag(std::string_view text, std::size_t from) {
    const std::string_view tail =
        text.substr(std::max(from, text.size() - std::min(text.size(), payloadTag.size() - 1)));
    for (std::size_t at = 0; at < tail.size(); ++at)
        if (payloadTag.starts_with(tail.substr(at))) return tail.size() - at;
    return 0;
}

}  // namespace

AnswerCollector::State AnswerCollector::readLengthLine() {
    const std::size_t tagEnd = std::min(received_.size(), lengthTag.size());
    if (!same_ignoring_case(std::string_view(received_).substr(0, tagEnd), lengthTag.substr(0, tagEnd)))
        return State::malformed;
    const std::size_t lineEnd = received_.find('\n');
    if (lineEnd == std::string::npos)
        return received_.size() > longestLengthLine ? State::malformed : State::incomplete;
    if (lineEnd < lengthTag.size()) return State::malformed;
    lengthLine_ = received_.substr(0, lineEnd);
    const auto length = parse_number(lengthLine_.substr(lengthTag.size()));
    if (!length || *length < 0 || *length > payloadLimit) return State::malformed;
    announced_ = *length;
    searchFrom_ = tagArea_ = lineEnd + 1;
    return State::complete;
}

AnswerCollector::State AnswerCollector::add(std::string_view bytes) {
    received_.append(bytes);
    if (announced_ < 0) {
        const State line = readLengthLine();
        if (line != State::complete) return line;
    }
    if (payloadStart_ == std::string::npos) {
        payloadStart_ = received_.find(payloadTag, searchFrom_);
        // The tag may be cut at the end of what has come.
        if (payloadStart_ == std::string::npos) searchFrom_ = received_.size() - begun_tag(received_, searchFrom_);
        // A tag beyond the announced length begins no answer of that length, wherever the pieces were cut.
        const std::size_t earliest = payloadStart_ == std::string::npos ? searchFrom_ : payloadStart_;
        if (announced_ > 0 && earliest - tagArea_ >= static_cast<std::size_t>(announced_)) return State::malformed;
    }
    const std::size_t held = payloadStart_ == std::string::npos ? 0 : received_.size() - payloadStart_;
    return held >= static_cast<std::size_t>(announced_) ? State::complete : State::incomplete;
}

std::string AnswerCollector::payload() const {
    if (payloadStart_ == std::string::npos) return {};
    return received_.substr(payloadStart_, received_.find('\0', payloadStart_) - payloadStart_);
}

std::optional<SelectAnswer> parse_select(std::string_view payload, std::string& error) {
    std::optional<std::string_view> rest = payload;
    SelectAnswer answer;

    // The payload of an answer that did not come is one empty line, so the status line is always there.
    answer.status = without_first(next_line(rest).value_or(std::string_view()), payloadTag.size());

    const auto numrows = next_line(rest);
    if (!numrows) {
        error = "db_request::db_request error getting numrows-tag from db-manager, tag is <>, qryresults is <" +
                std::string(payload) + ">";
        return std::nullopt;
    }
    const std::string numberText(without_first(*numrows, numrowsLabel));
    const auto announced = parse_number(numberText);
    if (!announced) {
        error = "db_request::db_request error numrows-tag <" + numberText + "> from db-manager is not a valid number";
        return std::nullopt;
    }
    if (*announced < 1) return answer;

    const std::string_view header = without_first(next_line(rest).value_or(std::string_view()), rowLabel);
    if (!header.empty()) {
        const auto commas = static_cast<std::size_t>(std::count(header.begin(), header.end(), ','));
        answer.columns = split_values(header, std::min(commas + 1, mostColumns));
    }
    for (long row = 1; row < *announced; ++row) {
        const auto line = next_line(rest);
        if (!line || (line->empty() && !rest)) break;
        // Lines without values must not multiply into more values than there are bytes.
        if ((answer.rows.size() + 1) * answer.columns.size() > payload.size()) break;
        answer.rows.push_back(split_values(without_first(*line, rowLabel), answer.columns.size()));
    }
    return answer;
}

std::optional<long> parse_insert_id(std::string_view payload, std::string& text) {
    std::string_view rest = without_first(payload, insertLabel);
    rest = without_first(rest, std::min(rest.find_first_not_of(" \t'~"), rest.size()));
    text = rest.substr(0, rest.find_first_of(" \t'"));
    errno = 0;
    const long long id = std::strtoll(text.c_str(), nullptr, 10);
    if (errno != 0 || to_32bit_range(id) != id) return std::nullopt;
    return static_cast<long>(id);
}

}  // namespace libenvdb
