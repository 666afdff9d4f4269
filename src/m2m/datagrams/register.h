// Register: a neighbour names the objects whose changes it wants to hear of.
#pragma once

#include <string>

#include "m2m/datagrams/objectidlist.h"

class M2MRegisterRequestDatagram : public ObjectIdRequestDatagram {
  public:
    using ObjectIdRequestDatagram::ObjectIdRequestDatagram;
    M2MRegisterRequestDatagram() = default;
    explicit M2MRegisterRequestDatagram(const M2MRegisterRequestDatagram* other) : ObjectIdRequestDatagram(other) {}
    // Takes an array of integers, skipping other elements, or a single integer.
    explicit M2MRegisterRequestDatagram(const std::string& json);

    // The envelope and "object_ids".
    json_t* encodeJSON() const { return encodeWithIDs("m2mregisterrequestdatagram->encodeJSON"); }
};

// The envelope with "result".
class M2MRegisterResponseDatagram : public M2MResponseDatagram {
  public:
    using M2MResponseDatagram::M2MResponseDatagram;
    M2MRegisterResponseDatagram() = default;
    explicit M2MRegisterResponseDatagram(const M2MRegisterResponseDatagram* other) : M2MResponseDatagram(other) {}
};
