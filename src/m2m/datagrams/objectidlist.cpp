#include "m2m/datagrams/objectidlist.h"

#include "cbase/jsontext.h"
#include "cbase/logging.h"

ObjectIdRequestDatagram::ObjectIdRequestDatagram(const std::string& source, const std::string& destination,
                                                 const std::string& type, const std::string& function,
                                                 const std::string& token, const std::list<long>* objectIDs,
                                                 const std::string& messageID)
    : M2MRequestDatagram(source, destination, type, function, token, messageID) {
    setObjectIDList(objectIDs);
}

ObjectIdRequestDatagram::ObjectIdRequestDatagram(const ObjectIdRequestDatagram* other) : M2MRequestDatagram(other) {
    if (other != nullptr) setObjectIDList(other->getObjectIDList());
}

void ObjectIdRequestDatagram::setObjectIDList(const std::list<long>* ids) {
    ids_ = ids == nullptr ? nullptr : std::make_unique<std::list<long>>(*ids);
}

void ObjectIdRequestDatagram::setObjectIDList(long id) {
    if (!ids_) ids_ = std::make_unique<std::list<long>>();
    ids_->push_back(id);
}

json_t* ObjectIdRequestDatagram::encodeWithIDs(const char* unit) const {
    Json object(M2MRequestDatagram::encodeJSON());
    if (!object || !ids_) return object.release();
    Json array(json_array());
    for (const long id : *ids_)
        if (json_array_append_new(array.get(), json_integer(id)) != 0)
            error("%s error adding object id <%ld>", unit, id);
    add_member(object.get(), "object_ids", array.release(), unit);
    return object.release();
}
