#include <algorithm>

#include "fuzztarget.h"
#include "libenvcore/coremessages.h"

using libenvcore::CoreCall;

namespace {

bool has_empty_parameter(const CoreCall& call) {
    return std::ranges::any_of(call.parameters, [](const std::string& parameter) { return parameter.empty(); });
}

void check_call(const std::string& text) {
    std::string reason;
    const auto call = libenvcore::parse_core_call(text, reason);
    fuzz::require(call.has_value() == reason.empty(), "a call that is refused has a reason");
    if (!call) return;
    fuzz::require(call->parameters.size() <= libenvcore::mostCallParameters, "parameters stay within their number");
    for (const std::string& parameter : call->parameters)
        fuzz::require(parameter.size() <= libenvcore::callParameterLimit, "a parameter stays within its length");
    fuzz::require(call->parameter(call->parameters.size()).empty(), "a parameter that is not there is empty");

    // An empty parameter is written differently in the two directions.
    if (has_empty_parameter(*call)) return;
    const std::string again = libenvcore::format_core_request(
        call->request, call->parameters, std::to_string(call->waittime), libenvcore::Framing::plain);
    const auto second = libenvcore::parse_core_call(again, reason);
    fuzz::require(second && second->request == call->request && second->parameters == call->parameters &&
                      second->waittime == call->waittime,
                  "a call survives writing and reading");
}

}  // namespace

// As the gateway does it: the first block is the call, or announces the length of one.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string received = fuzz::bytes_of(data, size);
    const std::string firstBlock = received.substr(0, libenvcore::callBlock);
    if (!libenvcore::announces_length(firstBlock)) {
        check_call(firstBlock);
        return 0;
    }
    std::string reason;
    const auto length = libenvcore::parse_call_length(firstBlock, reason);
    fuzz::require(length.has_value() == reason.empty(), "a length that is refused has a reason");
    if (!length) return 0;
    fuzz::require(*length <= libenvcore::callLimit, "a length stays within its limit");
    const std::size_t start = libenvcore::find_call(received);
    if (start != std::string::npos) check_call(received.substr(start));
    return 0;
}
