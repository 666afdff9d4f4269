// The texts exchanged with the core service, in both directions, as pure functions: the call that arrives on the
// commands endpoint, the reply to it, the request that goes to the core, and the core's reply. No sockets, no logging.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace libenvcore {

// --- Calls from the core to this process ---------------------------------------------------------------------------

inline constexpr long mostCallParameters = 64;
inline constexpr std::size_t callParameterLimit = 511;  // characters kept of a parameter's value
inline constexpr std::size_t callBlock = 1024;          // bytes of one receive
inline constexpr long callLimit = 65536;                // bytes of a length-managed call

struct CoreCall {
    std::string request;
    std::vector<std::string> parameters;
    int waittime = 0;

    // The value of parameter `index`; empty when the call has fewer.
    std::string parameter(std::size_t index) const { return index < parameters.size() ? parameters[index] : ""; }
};

// Parses one call as received. On failure returns nothing and leaves the reason in `error`.
std::optional<CoreCall> parse_core_call(std::string_view text, std::string& error);

// Whether the first block of a call announces its length in a "LengthRequestIs: " line.
bool announces_length(std::string_view firstBlock);
// The announced length in bytes, 0 when it is negative. Nothing, with the reason in `error`, when it is no number or
// too large.
std::optional<long> parse_call_length(std::string_view firstBlock, std::string& error);
// Where the call begins in what has come so far: at "Request: ". npos when it has not come yet.
std::size_t find_call(std::string_view received);

// The reply to a call: its status, three digits, and `parameters`.
std::string format_core_reply(int status, const std::vector<std::string>& parameters);

// --- Requests from this process to the core ------------------------------------------------------------------------

// How the numbers of a request are written and whether lengths frame the exchange.
enum class Framing { plain, lengthManaged };

// The text of a request. `waittime` is seconds in decimal.
std::string format_core_request(const std::string& function, const std::vector<std::string>& parameters,
                                const std::string& waittime, Framing framing);

struct CoreReply {
    int status = 0;
    std::vector<std::string> parameters;
};

// Parses the core's reply. On failure returns nothing and leaves the reason in `error`, without the name of the unit
// that logs it; `function` is the request's name, as the texts give it.
std::optional<CoreReply> parse_core_reply(std::string_view text, const std::string& function, std::string& error);

}  // namespace libenvcore
