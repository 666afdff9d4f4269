#include "m2m/datagrams/discovery.h"

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

json_t* M2MDiscoveryResponseDatagram::encodeJSON() const {
    constexpr const char* unit = "m2mdiscoveryresponsedatagram->encodeJSON";
    Json object(M2MResponseDatagram::encodeJSON());
    if (!object || !add_member(object.get(), "context_id", json_integer(contextId_), unit)) return object.release();
    Json array(json_array());
    if (objects_)
        for (const auto& entry : *objects_) {
            if (!entry) continue;
            if (json_array_append_new(array.get(), entry->encodeJSON()) != 0) {
                error("m2mdiscoveryresponsedatagram->encodeJSON error adding object <%ld>", entry->getID());
                return object.release();
            }
        }
    add_member(object.get(), "objects", array.release(), unit);
    return object.release();
}
