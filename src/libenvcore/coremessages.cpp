#include "libenvcore/coremessages.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cbase/numbers.h"

namespace libenvcore {

namespace {

constexpr std::string_view lengthTag = "LengthRequestIs: ";
constexpr std::string_view requestTag = "Request: ";
constexpr std::string_view countTag = "Parameter Count: ";
constexpr std::string_view waittimeTag = "Waittime: ";
constexpr std::string_view statusTag = "Response Status: ";
constexpr std::string_view statusPrefix = "FSMC-";

bool begins_with(std::string_view text, std::string_view tag) {
    return text.size() >= tag.size() && strncasecmp(text.data(), tag.data(), tag.size()) == 0;
}

// "Param007 Length: " or "Param007:".
std::string parameter_tag(std::size_t index, const char* end) {
    char tag[32];
    std::snprintf(tag, sizeof tag, "Param%03zu", index);
    return std::string(tag) + end;
}

// The lines of a text, one after the other. What follows the last line feed is a line only when it is not empty.
class Lines {
  public:
    explicit Lines(std::string_view text) : rest_(text.substr(0, text.find('\0'))) {}

    std::optional<std::string_view> next() {
        if (rest_.empty()) return std::nullopt;
        const std::size_t end = rest_.find('\n');
        const std::string_view line = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        return line;
    }
    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

// The number that stands after `tag` in a line.
std::optional<long> number_after(std::string_view line, std::size_t tagLength) {
    return parse_number(std::string(line.substr(tagLength)));
}

bool is_number_text(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Builds the texts of a malformed call: each names the line at fault and, once known, the request.
struct CallFaults {
    std::string& error;
    std::string request;

    std::nullopt_t bad_tag(std::optional<std::string_view> line, const std::string& tag, const char* gap = " ") const {
        error = "GtwHandler::run strtok parsing '" + std::string(line.value_or("")) +
                "' request tag failed, not a well formed" + gap + "request tag '" + tag + "' for request '" + request +
                "' continuing for the next request";
        return std::nullopt;
    }
    std::nullopt_t bad_number(const char* what, const std::string& tag, std::string_view text) const {
        error = std::string("GtwHandler::run ") + what + " after '" + tag +
                "' request statement is not a valid number '" + std::string(text) + "' for request '" + request +
                "', continuing for the next request";
        return std::nullopt;
    }
};

// Reads one parameter: its length line and, when the length is positive, its tag and value lines.
std::optional<std::string> parse_call_parameter(Lines& lines, std::size_t index, const CallFaults& fault) {
    const std::string lengthLineTag = parameter_tag(index, " Length: ");
    const auto lengthLine = lines.next();
    if (!lengthLine || !begins_with(*lengthLine, lengthLineTag)) return fault.bad_tag(lengthLine, lengthLineTag);
    const auto length = number_after(*lengthLine, lengthLineTag.size());
    if (!length) return fault.bad_number("parameter length", lengthLineTag, lengthLine->substr(lengthLineTag.size()));
    if (*length <= 0) return std::string();

    // Requests in the other direction write the tag without its last blank, so that form is a tag here as well.
    const auto tagLine = lines.next();
    if (!tagLine) return fault.bad_tag(tagLine, parameter_tag(index, ": "), "  ");
    if (!begins_with(*tagLine, parameter_tag(index, ":"))) return fault.bad_tag(tagLine, parameter_tag(index, ": "));
    const auto value = lines.next();
    if (!value) return fault.bad_tag(value, parameter_tag(index, ": "), "  ");
    return std::string(value->substr(0, callParameterLimit));
}

}  // namespace

std::optional<CoreCall> parse_core_call(std::string_view text, std::string& error) {
    Lines lines(text);
    CoreCall call;
    CallFaults fault{error, {}};

    const auto requestLine = lines.next();
    if (!requestLine || !begins_with(*requestLine, requestTag)) {
        error = "GtwHandler::run strtok parsing '" + std::string(requestLine.value_or("")) +
                "' request tag failed, not a well formed request tag 'Request: ' continuing for the next request";
        return std::nullopt;
    }
    call.request = requestLine->substr(requestTag.size());
    fault.request = call.request;

    const auto countLine = lines.next();
    if (!countLine || !begins_with(*countLine, countTag)) return fault.bad_tag(countLine, std::string(countTag));
    const auto count = number_after(*countLine, countTag.size());
    if (!count || *count < 0 || *count > mostCallParameters)
        return fault.bad_number("number of parameters", std::string(countTag), countLine->substr(countTag.size()));

    for (std::size_t i = 0; i < static_cast<std::size_t>(*count); ++i) {
        auto value = parse_call_parameter(lines, i, fault);
        if (!value) return std::nullopt;
        call.parameters.push_back(std::move(*value));
    }

    const auto waittimeLine = lines.next();
    if (!waittimeLine || !begins_with(*waittimeLine, waittimeTag))
        return fault.bad_tag(waittimeLine, std::string(waittimeTag));
    const auto waittime = number_after(*waittimeLine, waittimeTag.size());
    if (!waittime)
        return fault.bad_number("waittime parameter", std::string(waittimeTag),
                                waittimeLine->substr(waittimeTag.size()));
    call.waittime = static_cast<int>(*waittime);

    const auto terminator = lines.next();
    if (!terminator || !terminator->empty()) return fault.bad_tag(terminator, "\n");
    return call;
}

bool announces_length(std::string_view firstBlock) {
    return begins_with(firstBlock, lengthTag);
}

std::optional<long> parse_call_length(std::string_view firstBlock, std::string& error) {
    const std::string_view line = Lines(firstBlock).next().value_or("");
    const std::string_view number = line.substr(std::min(lengthTag.size(), line.size()));
    const auto length = parse_number(std::string(number));
    if (length && *length <= callLimit) return std::max(*length, 0L);
    error = "GtwHandler::run length of request after 'LengthRequestIs: ' request statement is not a valid number '" +
            std::string(number) + "', continuing for the next request";
    return std::nullopt;
}

std::size_t find_call(std::string_view received) {
    const auto same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    };
    const auto found = std::search(received.begin(), received.end(), requestTag.begin(), requestTag.end(), same);
    return found == received.end() ? std::string_view::npos : static_cast<std::size_t>(found - received.begin());
}

std::string format_core_reply(int status, const std::vector<std::string>& parameters) {
    char line[64];
    std::snprintf(line, sizeof line, "Response Status: FSMC-%03d\nParameter Count: %zu\n", status, parameters.size());
    std::string reply = line;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        reply += parameter_tag(i, " Length: ") + std::to_string(parameters[i].size()) + "\n" + parameter_tag(i, ":") +
                 "\n" + parameters[i] + "\n";
    return reply + "\n";
}

std::string format_core_request(const std::string& function, const std::vector<std::string>& parameters,
                                const std::string& waittime, Framing framing) {
    const bool fixedWidth = framing == Framing::lengthManaged;
    const auto number = [fixedWidth](std::size_t value, int width) {
        char text[32];
        std::snprintf(text, sizeof text, "%0*zu", fixedWidth ? width : 1, value);
        return std::string(text);
    };
    std::string request = "Request: " + function + "\nParameter Count: " + number(parameters.size(), 3) + "\n";
    for (std::size_t i = 0; i < parameters.size(); ++i)
        request += parameter_tag(i, " Length: ") + number(parameters[i].size(), 6) + "\n" + parameter_tag(i, ":") +
                   "\n" + parameters[i] + "\n";
    request += "Waittime: " + waittime + "\n\n";
    return fixedWidth ? std::string(lengthTag) + number(request.size(), 9) + "\n" + request : request;
}

std::optional<CoreReply> parse_core_reply(std::string_view text, const std::string& function, std::string& error) {
    Lines lines(text);
    CoreReply reply;
    const auto fail = [&](const std::string& reason) {
        error = reason + " for function '" + function + "'";
        return std::nullopt;
    };

    const auto statusLine = lines.next();
    if (!statusLine || !begins_with(*statusLine, statusTag))
        return fail("strtok parsing 'Response Status: ' response tag failed");
    const std::string_view status = statusLine->substr(statusTag.size());
    if (status.substr(0, statusPrefix.size()) != statusPrefix)
        return fail("error: FSMCore response not in the FSMC-NNN format");
    const std::string_view digits = status.substr(statusPrefix.size());
    const auto code = number_after(digits, 0);
    if (!code || std::isdigit(static_cast<unsigned char>(digits.front())) == 0)
        return fail(std::string("error strtol with error '") + strerror(is_number_text(digits) ? ERANGE : EINVAL) +
                    "'");
    reply.status = static_cast<int>(*code);

    const auto countLine = lines.next();
    if (!countLine || !begins_with(*countLine, countTag))
        return fail("strtok parsing 'Parameter Count: ' response tag failed");
    const auto count = number_after(*countLine, countTag.size());
    if (!count || *count < 0)
        return fail("number of parameters after 'Parameter Count: ' response statement is not a valid number");

    constexpr std::size_t lengthLabel = 17;  // characters of "ParamNNN Length: "
    for (long i = 0; i < *count; ++i) {
        const auto lengthLine = lines.next();
        if (!lengthLine || lengthLine->size() < lengthLabel)
            return fail(
                "strtok parsing 'ParamNNN Length: ' response tag failed, not a well formed response from FSMCore");
        const auto length = number_after(*lengthLine, lengthLabel);
        if (!length)
            return fail(
                "parameter length after 'ParamNNN Length: ' response statement is not a valid number, not a well "
                "formed response from FSMCore");
        std::string value;
        if (*length > 0) {
            const auto tagLine = lines.next();
            const auto valueLine = lines.next();
            if (!tagLine || !valueLine || valueLine->size() != static_cast<std::size_t>(*length))
                return fail("strtok parsing 'ParamNNN: ' response tag failed, not a well formed response from FSMCore");
            value = *valueLine;
        }
        reply.parameters.push_back(std::move(value));
    }
    if (lines.rest().find_first_not_of('\n') != std::string_view::npos)
        return fail("strtok parsing '\n' response tag failed, not a well formed response from FSMCore");
    return reply;
}

}  // namespace libenvcore
