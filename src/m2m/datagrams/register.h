// Register: a neighbour names the objects whose changes it wants to hear of.
#pragma once

#include <list>
#include <string>

#include "m2m/datagrams/datagram.h"
#include "m2m/datagrams/objectidlist.h"

class M2MRegisterRequestDatagram : public M2MRequestDatagram {
  public:
    M2MRegisterRequestDatagram() = default;
    // Copies the list, which may be null.
    M2MRegisterRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                               const std::string& function, const std::string& token, const std::list<long>* objectIDs,
                               const std::string& messageID);
    explicit M2MRegisterRequestDatagram(const M2MRegisterRequestDatagram* other);
    // Takes an array of integers, skipping other elements, or a single integer.
    explicit M2MRegisterRequestDatagram(const std::string& json);

    json_t* encodeJSON() const;

    // The IDs, or null when none came; owned by the datagram.
    const std::list<long>* getObjectIDList() const { return ids_.get(); }
    // Copies the list in place of the one held.
    void setObjectIDList(const std::list<long>* ids) { ids_.set(ids); }
    // Appends one ID.
    void setObjectIDList(long id) { ids_.append(id); }

  private:
    ObjectIdList ids_;
};

// The envelope with "result".
class M2MRegisterResponseDatagram : public M2MResponseDatagram {
  public:
    using M2MResponseDatagram::M2MResponseDatagram;
    M2MRegisterResponseDatagram() = default;
    explicit M2MRegisterResponseDatagram(const M2MRegisterResponseDatagram* other) : M2MResponseDatagram(other) {}
};
