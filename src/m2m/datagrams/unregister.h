// Unregister: a neighbour names the objects whose changes it no longer wants to hear of.
#pragma once

#include <list>
#include <string>

#include "m2m/datagrams/datagram.h"
#include "m2m/datagrams/objectidlist.h"

class M2MUnregisterRequestDatagram : public M2MRequestDatagram {
  public:
    M2MUnregisterRequestDatagram() = default;
    // Copies the list, which may be null.
    M2MUnregisterRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                                 const std::string& function, const std::string& token,
                                 const std::list<long>* objectIDs, const std::string& messageID);
    explicit M2MUnregisterRequestDatagram(const M2MUnregisterRequestDatagram* other);
    // Takes every element of an array, or a single integer. Laxer than a register: an element that is no integer counts
    // as 0, which no object has.
    explicit M2MUnregisterRequestDatagram(const std::string& json);

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
class M2MUnregisterResponseDatagram : public M2MResponseDatagram {
  public:
    using M2MResponseDatagram::M2MResponseDatagram;
    M2MUnregisterResponseDatagram() = default;
    explicit M2MUnregisterResponseDatagram(const M2MUnregisterResponseDatagram* other) : M2MResponseDatagram(other) {}
};
