// Change-status: this controller tells a neighbour the new values of objects that it has registered for.
#pragma once

#include <list>
#include <string>

#include "m2m/datagrams/objectidlist.h"

class M2MChangeStatusRequestDatagram : public ObjectIdRequestDatagram {
  public:
    M2MChangeStatusRequestDatagram() = default;
    // Copies the list, which may be null.
    M2MChangeStatusRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                                   const std::string& function, const std::string& token, const std::string& messageID,
                                   const std::list<long>* objectIDs, bool responseRequired);
    explicit M2MChangeStatusRequestDatagram(const M2MChangeStatusRequestDatagram* other);
    // Reads "object_ids", while a datagram sent carries "objects" with their values.
    explicit M2MChangeStatusRequestDatagram(const std::string& json);

    // Reads the objects' current values from the database and writes them as "objects", then "answer_required".
    json_t* encodeJSON() const;

    bool getResponseRequired() const { return responseRequired_; }
    void setResponseRequired(bool required) { responseRequired_ = required; }

  private:
    bool responseRequired_ = false;
};
