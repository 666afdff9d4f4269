// Unregister: a neighbour names the objects whose changes it no longer wants to hear of.
#pragma once

#include <string>

#include "m2m/datagrams/objectidlist.h"

class M2MUnregisterRequestDatagram : public ObjectIdRequestDatagram {
  public:
    using ObjectIdRequestDatagram::ObjectIdRequestDatagram;
    M2MUnregisterRequestDatagram() = default;
    explicit M2MUnregisterRequestDatagram(const M2MUnregisterRequestDatagram* other) : ObjectIdRequestDatagram(other) {}
    // Takes every element of an array, or a single integer. Laxer than a register: an element that is no integer counts
    // as 0, which no object has.
    explicit M2MUnregisterRequestDatagram(const std::string& json);

    // The envelope and "object_ids".
    json_t* encodeJSON() const { return encodeWithIDs("m2munregisterrequestdatagram->encodeJSON"); }
};

// The envelope with "result".
class M2MUnregisterResponseDatagram : public M2MResponseDatagram {
  public:
    using M2MResponseDatagram::M2MResponseDatagram;
    M2MUnregisterResponseDatagram() = default;
    explicit M2MUnregisterResponseDatagram(const M2MUnregisterResponseDatagram* other) : M2MResponseDatagram(other) {}
};
