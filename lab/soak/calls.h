// Calls as the core makes them, good and bad, on a connection each.
#pragma once

#include <cstdint>
#include <string>

namespace soak {

// Tells the program that an object has changed; true when it answers that it has understood.
bool call_change_status(std::uint16_t corePort, const std::string& objectId);
// Calls that are closed without an answer: cut short, or for a service that the program does not have. True when so.
bool call_cut_short(std::uint16_t corePort);
bool call_unknown_service(std::uint16_t corePort);

}  // namespace soak
