#include "m2m/datagrams/discovery.h"

#include <algorithm>
#include <utility>

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "m2m/datagrams/datagramreader.h"

M2MDiscoveryRequestDatagram::M2MDiscoveryRequestDatagram(const std::string& source, const std::string& destination,
                                                         const std::string& type, const std::string& function,
                                                         const std::string& token, long contextID,
                                                         const std::string& messageID)
    : M2MRequestDatagram(source, destination, type, function, token, messageID), contextId_(contextID) {}

M2MDiscoveryRequestDatagram::M2MDiscoveryRequestDatagram(const M2MDiscoveryRequestDatagram* other) {
    if (other != nullptr) *this = *other;
}

M2MDiscoveryRequestDatagram::M2MDiscoveryRequestDatagram(const std::string& json) : M2MRequestDatagram(json) {
    const DatagramReader reader(json, "m2mdiscoveryrequestdatagram->M2MDiscoveryRequestDatagram( string )");
    if (!reader.load(0, DatagramReader::LoadText::withReason)) return;
    std::string context;
    if (reader.readText("context_id", context)) contextId_ = to_number(context);
}

json_t* M2MDiscoveryRequestDatagram::encodeJSON() const {
    Json object(M2MRequestDatagram::encodeJSON());
    if (object)
        add_member(object.get(), "context_id", json_integer(contextId_), "m2mdiscoveryrequestdatagram->encodeJSON");
    return object.release();
}

M2MDiscoveryResponseDatagram::M2MDiscoveryResponseDatagram(const std::string& source, const std::string& destination,
                                                           const std::string& type, const std::string& function,
                                                           const std::string& token, int resultCode, long contextID,
                                                           const M2MRemotableObject::List* objects,
                                                           const std::string& messageID)
    : M2MResponseDatagram(source, destination, type, function, token, resultCode, messageID), contextId_(contextID) {
    setObjectList(objects);
}

M2MDiscoveryResponseDatagram::M2MDiscoveryResponseDatagram(const M2MDiscoveryResponseDatagram* other)
    : M2MResponseDatagram(other) {
    if (other == nullptr) return;
    contextId_ = other->contextId_;
    setObjectList(other->getObjectList());
}

void M2MDiscoveryResponseDatagram::setObjectList(const M2MRemotableObject::List* objects) {
    objects_ = objects == nullptr ? nullptr : std::make_unique<M2MRemotableObject::List>(*objects);
}

namespace {

constexpr const char* encoding = "m2mdiscoveryresponsedatagram->encodeJSON";
constexpr const char* objectsKey = "objects";

// Hands each object of the list, encoded, to `take`, which says whether it could. False when one could not be encoded
// or taken: the others are left out then.
template <class Take>
bool encode_each(const M2MRemotableObject::List* objects, const Take& take) {
    if (objects == nullptr) return true;
    return std::all_of(objects->begin(), objects->end(), [&take](const auto& entry) {
        if (!entry) return true;
        Json encoded(entry->encodeJSON());
        if (encoded && take(std::move(encoded))) return true;
        error("%s error adding object <%ld>", encoding, entry->getID());
        return false;
    });
}

}  // namespace

Json M2MDiscoveryResponseDatagram::encodeHead(bool& complete) const {
    Json head(M2MResponseDatagram::encodeJSON());
    complete = head && add_member(head.get(), "context_id", json_integer(contextId_), encoding);
    return head;
}

json_t* M2MDiscoveryResponseDatagram::encodeJSON() const {
    bool complete = false;
    Json object = encodeHead(complete);
    Json array(json_array());
    const auto append = [&array](Json encoded) { return json_array_append_new(array.get(), encoded.release()) == 0; };
    if (complete && encode_each(objects_.get(), append))
        add_member(object.get(), objectsKey, array.release(), encoding);
    return object.release();
}

std::string M2MDiscoveryResponseDatagram::encodeText() const {
    bool complete = false;
    const Json head = encodeHead(complete);
    std::string text = dump(head.get());
    if (!complete || text.empty()) return text;
    const std::size_t end = text.size() - 1;  // of what is left when an object cannot be encoded
    text.resize(end);
    text.append(",\"").append(objectsKey).append("\":[");
    const char* separator = "";
    const auto append = [&text, &separator](const Json& encoded) {
        const std::string object = dump(encoded.get());
        text.append(std::exchange(separator, ",")).append(object);
        return !object.empty();
    };
    if (encode_each(objects_.get(), append)) {
        text += ']';
    } else {
        text.resize(end);
    }
    return text += '}';
}
