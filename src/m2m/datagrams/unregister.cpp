#include "m2m/datagrams/unregister.h"

#include "cbase/jsontext.h"
#include "cbase/numbers.h"
#include "m2m/datagrams/datagramreader.h"

M2MUnregisterRequestDatagram::M2MUnregisterRequestDatagram(const std::string& source, const std::string& destination,
                                                           const std::string& type, const std::string& function,
                                                           const std::string& token, const std::list<long>* objectIDs,
                                                           const std::string& messageID)
    : M2MRequestDatagram(source, destination, type, function, token, messageID) {
    setObjectIDList(objectIDs);
}

M2MUnregisterRequestDatagram::M2MUnregisterRequestDatagram(const M2MUnregisterRequestDatagram* other) {
    if (other != nullptr) *this = *other;
}

M2MUnregisterRequestDatagram::M2MUnregisterRequestDatagram(const std::string& json) : M2MRequestDatagram(json) {
    const DatagramReader reader(json, "m2munregisterrequestdatagram->M2MUnregisterRequestDatagram( string )");
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    const json_t* ids = reader.member("object_ids");
    if (json_is_integer(ids)) setObjectIDList(to_32bit_range(json_integer_value(ids)));
    for (std::size_t i = 0; i < json_array_size(ids); ++i)
        setObjectIDList(to_32bit_range(json_integer_value(json_array_get(ids, i))));
}

json_t* M2MUnregisterRequestDatagram::encodeJSON() const {
    Json object(M2MRequestDatagram::encodeJSON());
    if (object) ids_.encode(object.get(), "m2munregisterrequestdatagram->encodeJSON");
    return object.release();
}
