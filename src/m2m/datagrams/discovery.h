// Discovery: a neighbour asks which objects it may see in a context, and learns all about them.
#pragma once

#include <memory>
#include <string>

#include "cbase/jsontext.h"
#include "m2m/datagrams/datagram.h"
#include "model/m2mremotableobject.h"

class M2MDiscoveryRequestDatagram : public M2MRequestDatagram {
  public:
    M2MDiscoveryRequestDatagram() = default;
    M2MDiscoveryRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                                const std::string& function, const std::string& token, long contextID,
                                const std::string& messageID);
    explicit M2MDiscoveryRequestDatagram(const M2MDiscoveryRequestDatagram* other);
    // The context ID is taken from a JSON string only; anything else counts as no context.
    explicit M2MDiscoveryRequestDatagram(const std::string& json);

    // The context ID is written as an integer, unlike it is read.
    json_t* encodeJSON() const;

    // ID of the group to look into; negative for the list of groups.
    long getContextId() const { return contextId_; }
    void setContextId(long id) { contextId_ = id; }

  private:
    long contextId_ = -1;
};

class M2MDiscoveryResponseDatagram : public M2MResponseDatagram {
  public:
    M2MDiscoveryResponseDatagram() = default;
    // Copies the list, which may be null.
    M2MDiscoveryResponseDatagram(const std::string& source, const std::string& destination, const std::string& type,
                                 const std::string& function, const std::string& token, int resultCode, long contextID,
                                 const M2MRemotableObject::List* objects, const std::string& messageID);
    explicit M2MDiscoveryResponseDatagram(const M2MDiscoveryResponseDatagram* other);

    // "context_id" and "objects" after the envelope; an object that cannot be encoded is logged and ends the datagram
    // without "objects".
    json_t* encodeJSON() const;
    // The same as compact text, with one object's JSON in memory at a time: a home of thousands has megabytes of it.
    // Empty when there is no memory for it.
    std::string encodeText() const;

    long getContextId() const { return contextId_; }
    void setContextId(long id) { contextId_ = id; }
    // The objects, or null; owned by the datagram.
    const M2MRemotableObject::List* getObjectList() const { return objects_.get(); }
    // Copies the list; null stores none.
    void setObjectList(const M2MRemotableObject::List* objects);

  private:
    // The envelope and "context_id"; `complete` tells whether both are there.
    Json encodeHead(bool& complete) const;

    long contextId_ = -1;
    std::unique_ptr<M2MRemotableObject::List> objects_;
};
