// The list of object IDs that several requests carry: the base of register, unregister and change-status. The list does
// not exist until an ID or a list is set, so that a request whose list is missing is told from one with a list.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "m2m/datagrams/datagram.h"

class ObjectIdRequestDatagram : public M2MRequestDatagram {
  public:
    ObjectIdRequestDatagram() = default;
    // Copies the list, which may be null.
    ObjectIdRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                            const std::string& function, const std::string& token, const std::list<long>* objectIDs,
                            const std::string& messageID);
    // Copies every field; null gives empty fields.
    explicit ObjectIdRequestDatagram(const ObjectIdRequestDatagram* other);
    // Reads the envelope; each message reads the list by its own rules.
    explicit ObjectIdRequestDatagram(const std::string& json) : M2MRequestDatagram(json) {}

    // The IDs, or null when none came; owned by the datagram.
    const std::list<long>* getObjectIDList() const { return ids_.get(); }
    // Copies the list in place of the one held; null stores none.
    void setObjectIDList(const std::list<long>* ids);
    // Appends one ID, making the list on first use.
    void setObjectIDList(long id);

  protected:
    // The envelope and, when there is a list, "object_ids"; failures are logged with `unit`.
    json_t* encodeWithIDs(const char* unit) const;

  private:
    std::unique_ptr<std::list<long>> ids_;
};
