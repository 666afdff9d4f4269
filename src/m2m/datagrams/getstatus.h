// Get-status: a neighbour asks for the current values of objects, or of named items of complex objects.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "m2m/datagrams/objectidlist.h"
#include "model/m2mremotableobject.h"

class M2MGetStatusRequestDatagram : public ObjectIdRequestDatagram {
  public:
    using ItemNames = M2MRemotableObject::ItemNames;
    using TagMap = M2MRemotableObject::ItemNamesById;

    M2MGetStatusRequestDatagram() = default;
    M2MGetStatusRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                                const std::string& function, const std::string& token, const std::string& messageID)
        : ObjectIdRequestDatagram(source, destination, type, function, token, nullptr, messageID) {}
    explicit M2MGetStatusRequestDatagram(const M2MGetStatusRequestDatagram* other);
    explicit M2MGetStatusRequestDatagram(const std::string& json);

    // The envelope only: the program answers this request and never sends it.
    json_t* encodeJSON() const { return M2MRequestDatagram::encodeJSON(); }

    // The item names asked for by object ID (an empty list asks for the whole object), or null; owned by the datagram.
    const TagMap* getObjectTagList() const { return tags_.get(); }
    // Copies the names in place of those held for the ID, making the map on first use; null gives an empty list.
    void setObjectTagList(long id, const ItemNames* names);
    // Appends one name to those of the ID.
    void setObjectTagList(long id, const std::string& name);
    // Copies the map; null stores none.
    void setObjectTagList(const TagMap* tags);

  private:
    void parseObject(const std::string& json, const json_t* object);

    std::unique_ptr<TagMap> tags_;
};

class M2MGetStatusResponseDatagram : public M2MResponseDatagram {
  public:
    using TagMap = M2MRemotableObject::ItemNamesById;

    using M2MResponseDatagram::M2MResponseDatagram;
    M2MGetStatusResponseDatagram() = default;
    explicit M2MGetStatusResponseDatagram(const M2MGetStatusResponseDatagram* other);

    // "objects" after the envelope when there is a list. An object that cannot be encoded is logged and ends the
    // datagram without "objects".
    json_t* encodeJSON() const;

    // The objects, or null; owned by the datagram.
    const M2MRemotableObject::List* getObjectList() const { return objects_.get(); }
    // Copies the list; null stores none.
    void setObjectList(const M2MRemotableObject::List* objects);
    // Appends one object.
    void setObjectList(const M2MRemotableObject::Pointer& object);
    // The item names to which complex objects are restricted, or null; owned by the datagram.
    const TagMap* getObjectTagList() const { return tags_.get(); }
    // Copies the map; null stores none.
    void setObjectTagList(const TagMap* tags);

  private:
    std::unique_ptr<M2MRemotableObject::List> objects_;
    std::unique_ptr<TagMap> tags_;
};
