// Do-action: a neighbour operates objects, or named items of complex objects.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "m2m/datagrams/objectidlist.h"

class DatagramReader;

// Four parallel lists: entry i of each together is one action. A list is null until its first entry.
class M2MDoActionRequestDatagram : public ObjectIdRequestDatagram {
  public:
    using Texts = std::list<std::string>;

    M2MDoActionRequestDatagram() = default;
    M2MDoActionRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                               const std::string& function, const std::string& token, const std::string& messageID)
        : ObjectIdRequestDatagram(source, destination, type, function, token, nullptr, messageID) {}
    explicit M2MDoActionRequestDatagram(const M2MDoActionRequestDatagram* other);
    // Takes the items that have a name, an action and a value.
    explicit M2MDoActionRequestDatagram(const std::string& json);

    // "objects": one entry per run of actions on the same object. Name, action and value stand on the object itself
    // (those of its last action) and an empty item stands for each action, as readers of this form expect.
    json_t* encodeJSON() const;

    // The lists beside that of the object IDs, or null; owned by the datagram. The setters append one entry, or copy a
    // whole list. Item names.
    const Texts* getObjectTagList() const { return tags_.get(); }
    void setObjectTagList(const std::string& tag) { append(tags_, tag); }
    void setObjectTagList(const Texts* tags) { copy(tags_, tags); }
    const Texts* getActionList() const { return actions_.get(); }
    void setActionList(const std::string& action) { append(actions_, action); }
    void setActionList(const Texts* actions) { copy(actions_, actions); }
    const Texts* getActionValueList() const { return values_.get(); }
    void setActionValueList(const std::string& value) { append(values_, value); }
    void setActionValueList(const Texts* values) { copy(values_, values); }

  private:
    static void append(std::unique_ptr<Texts>& list, const std::string& text);
    static void copy(std::unique_ptr<Texts>& list, const Texts* other);
    void parseObject(const DatagramReader& reader, const json_t* object);
    void parseItem(const DatagramReader& reader, long id, const json_t* item);

    std::unique_ptr<Texts> tags_;
    std::unique_ptr<Texts> actions_;
    std::unique_ptr<Texts> values_;
};

// The envelope with "result".
class M2MDoActionResponseDatagram : public M2MResponseDatagram {
  public:
    using M2MResponseDatagram::M2MResponseDatagram;
    M2MDoActionResponseDatagram() = default;
    explicit M2MDoActionResponseDatagram(const M2MDoActionResponseDatagram* other) : M2MResponseDatagram(other) {}
};
