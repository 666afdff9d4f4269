#include <algorithm>

#include "fuzztarget.h"
#include "libenvcore/coremessages.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string reason;
    const auto reply = libenvcore::parse_core_reply(fuzz::bytes_of(data, size), "SERVICE_LOGIN", reason);
    fuzz::require(reply.has_value() == reason.empty(), "a reply that is refused has a reason");
    if (!reply) return 0;
    const auto& values = reply->parameters;
    // An empty parameter is written differently in the two directions.
    if (std::any_of(values.begin(), values.end(), [](const std::string& value) { return value.empty(); })) return 0;
    const std::string again = libenvcore::format_core_reply(reply->status, values);
    const auto second = libenvcore::parse_core_reply(again, "SERVICE_LOGIN", reason);
    fuzz::require(second && second->status == reply->status && second->parameters == values,
                  "a reply survives writing and reading");
    return 0;
}
