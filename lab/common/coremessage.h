// The text protocol of FSMCore, both directions: what the link sends to the core (and `home` too), the core's reply,
// and the calls that the core makes to a runner. Pure text, no sockets.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/linereader.h"

namespace lab {

struct CoreRequest {
    std::string function;
    std::vector<std::string> parameters;
    std::string wait_time = "5";
    bool length_managed = false;
};

// Reads one request as received so far, with or without its length line.
Parsed parse_core_request(std::string_view text, CoreRequest& request);
// A request to the core.
std::string compose_core_request(const CoreRequest& request);
// A call to a runner: unlike a request its parameter tags end in a blank, and empty values have neither tag nor value.
std::string compose_runner_call(const CoreRequest& call);
// The core's reply, with a length line when the request had one.
std::string compose_core_reply(long status, bool length_managed);
// The status of a reply; nothing when it is not all there or not well-formed.
std::optional<long> parse_core_reply(std::string_view text);

}  // namespace lab
