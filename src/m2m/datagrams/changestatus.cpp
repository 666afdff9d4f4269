#include "m2m/datagrams/changestatus.h"

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "m2m/datagrams/datagramreader.h"
#include "model/m2mremotableobject.h"

namespace {
constexpr const char* encodeUnit = "m2mchangestatusrequestdatagram->encodeJSON";
constexpr const char* parseUnit = "m2mchangestatusrequestdatagram->M2MChangeStatusRequestDatagram( string )";
}  // namespace

M2MChangeStatusRequestDatagram::M2MChangeStatusRequestDatagram(const std::string& source,
                                                               const std::string& destination, const std::string& type,
                                                               const std::string& function, const std::string& token,
                                                               const std::string& messageID,
                                                               const std::list<long>* objectIDs, bool responseRequired)
    : ObjectIdRequestDatagram(source, destination, type, function, token, objectIDs, messageID),
      responseRequired_(responseRequired) {}

M2MChangeStatusRequestDatagram::M2MChangeStatusRequestDatagram(const M2MChangeStatusRequestDatagram* other)
    : ObjectIdRequestDatagram(other), responseRequired_(other != nullptr && other->responseRequired_) {}

M2MChangeStatusRequestDatagram::M2MChangeStatusRequestDatagram(const std::string& json)
    : ObjectIdRequestDatagram(json) {
    const DatagramReader reader(json, parseUnit);
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    const json_t* ids = reader.member("object_ids");
    if (json_is_integer(ids)) setObjectIDList(to_32bit_range(json_integer_value(ids)));
    for (std::size_t i = 0; i < json_array_size(ids); ++i)
        setObjectIDList(to_32bit_range(json_integer_value(json_array_get(ids, i))));
    long required = 0;
    if (number_of(reader.member("answer_required"), required)) {
        responseRequired_ = required != 0;
    } else {
        error("%s error loading the JSON tag <%s>", parseUnit, "answer_required");
    }
}

json_t* M2MChangeStatusRequestDatagram::encodeJSON() const {
    Json root(M2MRequestDatagram::encodeJSON());
    if (!root || getObjectIDList() == nullptr) return root.release();
    if (const auto objects = M2MRemotableObject::readValuesFromDB(getObjectIDList())) {
        Json array(json_array());
        for (const auto& object : *objects)
            if (object && json_array_append_new(array.get(), object->encodeJSONWithValueOnly()) != 0)
                error("m2mchangestatusrequestdatagram->encodeJSON error adding object <%ld>", object->getID());
        add_member(root.get(), "objects", array.release(), encodeUnit);
    } else {
        error("m2mchangestatusrequestdatagram->encodeJSON error retrieving values from DB");
    }
    add_member(root.get(), "answer_required", json_integer(responseRequired_ ? 1 : 0), encodeUnit);
    return root.release();
}
