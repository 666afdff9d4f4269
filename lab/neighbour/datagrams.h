// The requests that a neighbour sends, as JSON in the key order of the wire. Nothing here talks to anybody: commands
// build a request, the session sends it.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace neighbour {

// Keeps keys in the order in which they were inserted or read.
using Json = nlohmann::ordered_json;

// Who speaks to whom, with which right.
struct Identity {
    std::string uid;
    std::string target;
    std::string token;
};

struct AttachFields {
    std::string clientTag = "neighbour";
    std::string user;
    std::string password;
    std::string manufacturer = "lab";
    std::string softwareVersion = "1.0";
    std::string listenAddress;
    std::uint16_t listenPort = 0;
};

// An object, and the items of it that are meant; no items means the whole object.
struct ItemSelection {
    long long id = 0;
    std::vector<std::string> items;
};

struct Action {
    long long id = 0;
    std::string item;
    std::string action;
    std::string value;
};

Json attach_request(const Identity& identity, const AttachFields& fields);
Json detach_request(const Identity& identity, bool clearAll);
// A context below 0 asks for the groups of the home. The ID travels as a string: controllers take no other form.
Json discovery_request(const Identity& identity, long long context);
Json register_request(const Identity& identity, const std::vector<long long>& ids);
Json unregister_request(const Identity& identity, const std::vector<long long>& ids);
Json getstatus_request(const Identity& identity, const std::vector<ItemSelection>& objects);
// Consecutive actions on one object share its entry.
Json doaction_request(const Identity& identity, const std::vector<Action>& actions);

// The text for the wire: compact.
std::string encode(const Json& datagram);
// The same for the eyes of people: the password is left out.
std::string encode_for_display(const Json& datagram);

// Reads text from a peer. Returns nothing when it is not JSON, not UTF-8, or nested deeper than any datagram.
std::optional<Json> decode(std::string_view text);

// "12", or "12:temperature,setpoint"; a backslash takes the next character as it is. Nothing when it is neither.
std::optional<ItemSelection> parse_selection(std::string_view text);

}  // namespace neighbour
