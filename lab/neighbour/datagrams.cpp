#include "neighbour/datagrams.h"

#include <cstdint>
#include <random>
#include <utility>

#include "common/text.h"

namespace neighbour {
namespace {

// Fresh for each request, so that an answer cannot be taken for that of another.
std::string fresh_message_id() {
    static std::random_device device;
    constexpr std::string_view digits = "0123456789abcdef";
    std::string id;
    for (int count = 0; count < 8; ++count) id += digits[device() % digits.size()];
    return id;
}

Json envelope(const std::string& function, const Identity& identity) {
    Json datagram;
    datagram["type"] = "request";
    datagram["function"] = function;
    datagram["source"] = identity.uid;
    datagram["target"] = identity.target;
    datagram["token"] = identity.token;
    datagram["msg_id"] = fresh_message_id();
    return datagram;
}

Json request_with_ids(const std::string& function, const Identity& identity, const std::vector<long long>& ids) {
    Json datagram = envelope(function, identity);
    datagram["object_ids"] = ids;
    return datagram;
}

}  // namespace

Json attach_request(const Identity& identity, const AttachFields& fields) {
    Json datagram = envelope("attach", identity);
    datagram["clienttag"] = fields.clientTag;
    datagram["username"] = fields.user;
    datagram["password"] = fields.password;
    datagram["manufacturertag"] = fields.manufacturer;
    datagram["softwareversion"] = fields.softwareVersion;
    datagram["protocolversion"] = 1;
    datagram["ipaddress"] = fields.listenAddress;
    datagram["ipport"] = fields.listenPort;
    datagram["options"] = Json::object();
    datagram["communication_mode"] = 1;
    return datagram;
}

Json detach_request(const Identity& identity, bool clearAll) {
    Json datagram = envelope("detach", identity);
    datagram["clearneighbour"] = clearAll ? 1 : 0;
    return datagram;
}

Json discovery_request(const Identity& identity, long long context) {
    Json datagram = envelope("discovery", identity);
    datagram["context_id"] = std::to_string(context);
    return datagram;
}

Json register_request(const Identity& identity, const std::vector<long long>& ids) {
    return request_with_ids("register", identity, ids);
}

Json unregister_request(const Identity& identity, const std::vector<long long>& ids) {
    return request_with_ids("unregister", identity, ids);
}

Json getstatus_request(const Identity& identity, const std::vector<ItemSelection>& objects) {
    Json datagram = envelope("getstatus", identity);
    Json& entries = datagram["objects"] = Json::array();
    for (const ItemSelection& object : objects) {
        Json entry;
        entry["id"] = object.id;
        Json& items = entry["items"] = Json::array();
        for (const std::string& name : object.items) items.push_back(Json{{"name", name}});
        entries.push_back(std::move(entry));
    }
    return datagram;
}

Json doaction_request(const Identity& identity, const std::vector<Action>& actions) {
    Json datagram = envelope("doaction", identity);
    Json& entries = datagram["objects"] = Json::array();
    for (const Action& action : actions) {
        if (entries.empty() || entries.back()["id"] != action.id) {
            Json entry;
            entry["id"] = action.id;
            entry["items"] = Json::array();
            entries.push_back(std::move(entry));
        }
        Json item;
        item["name"] = action.item;
        item["action"] = action.action;
        item["action_value"] = action.value;
        entries.back()["items"].push_back(std::move(item));
    }
    return datagram;
}

std::string encode(const Json& datagram) {
    return datagram.dump();
}

std::string encode_for_display(const Json& datagram) {
    if (!datagram.contains("password")) return encode(datagram);
    Json shown = datagram;
    shown["password"] = "<NOT PRINTED>";
    return encode(shown);
}

std::optional<Json> decode(std::string_view text) {
    // Far more than any datagram has, far less than it takes to exhaust the stack when such a value is written out.
    constexpr int deepest = 64;
    bool tooDeep = false;
    Json value = Json::parse(
        text,
        [&tooDeep](int depth, Json::parse_event_t /*event*/, Json& /*value*/) {
            tooDeep = tooDeep || depth > deepest;
            return !tooDeep;
        },
        false);
    if (tooDeep || value.is_discarded()) return std::nullopt;
    return value;
}

std::optional<ItemSelection> parse_selection(std::string_view text) {
    const std::size_t colon = text.find(':');
    const auto id = lab::to_number(text.substr(0, colon));
    if (!id) return std::nullopt;
    ItemSelection selection{*id, {}};
    if (colon == std::string_view::npos) return selection;
    std::string name;
    const std::string_view names = text.substr(colon + 1);
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (names[at] == ',') {
            selection.items.push_back(std::exchange(name, {}));
        } else if (names[at] == '\\' && at + 1 < names.size()) {
            name += names[++at];
        } else {
            name += names[at];
        }
    }
    selection.items.push_back(name);
    return selection;
}

}  // namespace neighbour
