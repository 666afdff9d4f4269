#include "calls.h"

#include "common/coremessage.h"
#include "wire.h"

namespace soak {

namespace {

std::string call_text(const std::string& service, const std::string& objectId) {
    return lab::compose_runner_call(
        {service, {"101", "NO-VALUE", "CHANGESTATUS", objectId, "NO-VALUE", ""}, "5", false});
}

}  // namespace

bool call_change_status(std::uint16_t corePort, const std::string& objectId) {
    return lab::parse_core_reply(exchange_plain(corePort, call_text("SERVICE_RUNONELEMENT", objectId))) == 0;
}

bool call_cut_short(std::uint16_t corePort) {
    const std::string text = call_text("SERVICE_RUNONELEMENT", "20");
    return exchange_plain(corePort, text.substr(0, text.size() / 2)).empty();
}

bool call_unknown_service(std::uint16_t corePort) {
    return exchange_plain(corePort, call_text("SERVICE_NOSUCH", "20")).empty();
}

}  // namespace soak
