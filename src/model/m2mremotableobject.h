// An object of the controller (light, shutter, group, ...) that a neighbour may see, read and drive. Loaded with its
// actions, rendering, category and, for a complex object, its children; kept in one process-wide cache, in which the
// neighbour's registrations are marked. Datagrams carry what it encodes.
#pragma once

#include <jansson.h>

#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/m2mkovadobject.h"
#include "model/m2mobjectcategory.h"
#include "model/m2mrendering.h"

class M2MRemotableObject : public M2MKovadObject {
  public:
    using Pointer = std::shared_ptr<M2MRemotableObject>;
    using List = std::list<Pointer>;
    using Children = std::map<long, Pointer>;
    using ItemNames = std::list<std::string>;
    using ItemNamesById = std::map<long, ItemNames>;

    M2MRemotableObject() = default;
    // Reads the object; on success a copy is in the cache.
    explicit M2MRemotableObject(long id, bool discoverable = false);
    // Copies all attributes; null gives the defaults.
    explicit M2MRemotableObject(const M2MRemotableObject* other) { copyAllAttributes(other); }
    M2MRemotableObject(const M2MRemotableObject&) = delete;
    M2MRemotableObject& operator=(const M2MRemotableObject&) = delete;
    ~M2MRemotableObject() = default;
    void copyAllAttributes(const M2MRemotableObject* other);

    // --- The cache

    // The cached object, read on first use: among the discoverable objects, or else among the remotable ones. Empty
    // when the ID is negative, the object cannot be read, or it is being read at the moment (it is its own descendant
    // then).
    static Pointer getNewRemotableObject(long id, bool discoverable = false);
    static bool objectExistsInCache(long id);
    static bool objectInCacheIsRegistered(long id);
    // All cached objects, in ascending ID order.
    static List objectsInCache();
    static void deleteCache();
    // The object types that a neighbour can work with.
    static std::list<std::string> getSupportedObjectTypes();

    // Marks this object's entry in the cache, and its children, as registered (not registered) by the neighbour.
    // Nothing happens when it is not cached.
    void registerObject() const { markCached(getID(), true); }
    void unregisterObject() const { markCached(getID(), false); }
    // The same for the cached object `id`.
    static void markCached(long id, bool registered);

    // --- Database

    // Reads object, actions and children. 0, or 13 after logging; nothing is cached then.
    int readFromDB(long id, bool discoverable);
    // Refreshes the values of the objects in one statement and returns those found, or null when there are none or the
    // request failed. An object with children has the children's values refreshed, of those named when names are given.
    static std::unique_ptr<List> readValuesFromDB(const std::list<long>* ids);
    static std::unique_ptr<List> readValuesFromDB(const ItemNamesById* objects);

    // --- JSON; new objects owned by the caller. A member that cannot be added is logged and ends the object there.

    // Everything a neighbour learns in a discovery.
    json_t* encodeJSON() const;
    // "id", "type", "current_value", "name" and the children's, of those named when names are given.
    json_t* encodeJSONWithValueOnly(const ItemNames* items = nullptr) const;

    // Has the core perform `action` with `actionValue` on this object, or on its child named `itemName` when it is
    // complex. `sessionToken` is the neighbour's token; its address is accepted for the record and not sent. Returns
    // the core's status, 6 to 8 when the core could not be asked, 10 when the neighbour has not registered for the
    // object.
    int performAction(const std::string& action, const std::string& actionValue, const std::string& itemName,
                      const std::string& sessionToken, const std::string& ipAddress) const;

    // --- Attributes

    std::string getName() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    std::string getCurrentValue() const { return currentValue_; }
    void setCurrentValue(std::string value) { currentValue_ = std::move(value); }
    // Name of a child inside its complex parent.
    std::string getTag() const { return tag_; }
    void setTag(std::string tag) { tag_ = std::move(tag); }
    std::shared_ptr<M2MObjectCategory> getCategory() const { return category_; }
    // Takes the category from its cache; a negative ID changes nothing.
    void setCategory(long id);
    std::shared_ptr<M2MRendering> getRendering() const { return rendering_; }
    void setRendering(long id);
    // The actions, or null when none were set; owned by the object.
    const std::vector<std::string>* getActionList() const { return actionList_.get(); }
    // Copies the list; null stores none.
    void setActionList(const std::vector<std::string>* actions);
    // Splits a text at "|"; an empty text gives an empty list.
    void setActionList(const std::string& text);
    // The children by ID, or null when there are none; owned by the object.
    const Children* getElementChildren() const { return elementChildren_.get(); }
    void setElementChildren(const Children* children);
    // Adds a child; one with the same ID stays.
    void setElementChildren(const Pointer& child);
    std::list<long> getElementChildrenIDList() const;
    long getParentObjectID() const { return parentObjectID_; }
    void setParentObjectID(long id) { parentObjectID_ = id; }
    bool isEnabled() const { return enabled_; }
    void setEnable(bool enabled) { enabled_ = enabled; }
    bool isRegistered() const { return registered_; }
    void setRegister(bool registered) { registered_ = registered; }
    bool isComplex() const { return complex_; }
    void setComplex(bool complex) { complex_ = complex; }
    bool isPollingRequired() const { return pollingRequired_; }
    void setPollingRequired(bool required) { pollingRequired_ = required; }

  private:
    int readObjectRow(long id, bool discoverable);
    int readActions();
    int readChildren();
    Children childrenNamed(const ItemNames* items) const;
    long actionTarget(const std::string& itemName) const;
    template <class Request, class Named>
    static std::unique_ptr<List> readValues(const Request* request, const Named& named);
    static std::unique_ptr<List> refreshValues(std::unique_ptr<List> objects, const std::string& ids);

    static Children cachedObjectList;

    std::string name_;
    std::string currentValue_;
    std::string tag_;
    std::shared_ptr<M2MObjectCategory> category_;
    std::shared_ptr<M2MRendering> rendering_;
    std::unique_ptr<std::vector<std::string>> actionList_;
    std::unique_ptr<Children> elementChildren_;
    long parentObjectID_ = -1;
    bool enabled_ = false;
    bool registered_ = false;
    bool complex_ = false;
    bool pollingRequired_ = false;
    int levelsBelow_ = 0;     // of children, their children and so on
    long elementsBelow_ = 0;  // counted once per way that leads to them, as they are encoded
};

// The tag of a child from the options text of its relation: what stands after tag_complex_element=" there, up to the
// closing quote at the end of the text; `previous` when the text names none.
std::string extract_element_tag(const std::string& optional, const std::string& previous);
