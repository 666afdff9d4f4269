#include "model/m2mremotableobject.h"

#include <algorithm>
#include <set>

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "cbase/tokenize.h"
#include "libenvcore/core_request.h"
#include "libenvdb/query.h"
#include "model/recordcache.h"

using libenvdb::quoted;

M2MRemotableObject::Children M2MRemotableObject::cachedObjectList;

namespace {

// Several texts of this unit begin with the client browser's name, as they always did.
constexpr const char* connectUnit = "m2mclientbrowser->readFromDB";
constexpr const char* queryUnit = "m2mremotableobject->readFromDB";
constexpr const char* elementTag = "tag_complex_element";

// Children of children end here: no home nests as deep, and reading and encoding recurse.
constexpr int deepestNesting = 32;
// And so do they here: objects that are each other's children in many ways would fill the memory when encoded.
constexpr long mostElements = 10000;

// The objects that are being read. The relation table may name an object among its own descendants; it counts as not
// found for them.
std::set<long>& being_read() {
    static std::set<long> ids;
    return ids;
}

class ReadingMark {
  public:
    explicit ReadingMark(long id) : entry_(being_read().insert(id)) {}
    ReadingMark(const ReadingMark&) = delete;
    ReadingMark& operator=(const ReadingMark&) = delete;
    ~ReadingMark() {
        if (entry_.second) being_read().erase(entry_.first);
    }

  private:
    std::pair<std::set<long>::iterator, bool> entry_;
};

}  // namespace

std::string extract_element_tag(const std::string& optional, const std::string& previous) {
    const std::size_t at = optional.find(elementTag);
    if (at == std::string::npos) return previous;
    const std::size_t start = at + std::string(elementTag).size() + 2;  // the equals sign and the opening quote
    if (start >= optional.size()) return {};
    // The length is the position of "|" in the whole text, not its distance: relation texts end with the tag.
    std::string tag = optional.substr(start, optional.find('|', at));
    if (!tag.empty()) tag.pop_back();
    return tag;
}

M2MRemotableObject::M2MRemotableObject(long id, bool discoverable) {
    readFromDB(id, discoverable);
}

void M2MRemotableObject::copyAllAttributes(const M2MRemotableObject* other) {
    if (other == nullptr) return;
    M2MKovadObject::copyAllAttributes(other);
    name_ = other->name_;
    currentValue_ = other->currentValue_;
    tag_ = other->tag_;
    category_ = other->category_;
    rendering_ = other->rendering_;
    setActionList(other->getActionList());
    setElementChildren(other->getElementChildren());
    parentObjectID_ = other->parentObjectID_;
    enabled_ = other->enabled_;
    registered_ = other->registered_;
    complex_ = other->complex_;
    pollingRequired_ = other->pollingRequired_;
    levelsBelow_ = other->levelsBelow_;
    elementsBelow_ = other->elementsBelow_;
}

// --- The cache -----------------------------------------------------------------------------------------------------

M2MRemotableObject::Pointer M2MRemotableObject::getNewRemotableObject(long id, bool discoverable) {
    if (id < 0 || being_read().contains(id)) return nullptr;
    return cached_or_read(&cachedObjectList, id, discoverable);
}

bool M2MRemotableObject::objectExistsInCache(long id) {
    return cachedObjectList.contains(id);
}

bool M2MRemotableObject::objectInCacheIsRegistered(long id) {
    const auto found = cachedObjectList.find(id);
    return found != cachedObjectList.end() && found->second && found->second->isRegistered();
}

M2MRemotableObject::List M2MRemotableObject::objectsInCache() {
    List objects;
    for (const auto& [id, object] : cachedObjectList) objects.push_back(object);
    return objects;
}

void M2MRemotableObject::deleteCache() {
    cachedObjectList.clear();
}

std::list<std::string> M2MRemotableObject::getSupportedObjectTypes() {
    return {"QUORIDX", "QUOROBJ", "GROUP"};
}

void M2MRemotableObject::markCached(long id, bool registered) {
    const auto found = cachedObjectList.find(id);
    if (found == cachedObjectList.end()) return;
    found->second->setRegister(registered);
    if (!found->second->elementChildren_) return;
    for (const auto& [childId, child] : *found->second->elementChildren_) child->setRegister(registered);
}

// --- Database ------------------------------------------------------------------------------------------------------

int M2MRemotableObject::readFromDB(long id, bool discoverable) {
    const ReadingMark mark(id);
    int code = readObjectRow(id, discoverable);
    if (code == result::ok) code = readActions();
    if (code == result::ok && isComplex()) code = readChildren();
    if (code == result::ok) cachedObjectList.emplace(getID(), std::make_shared<M2MRemotableObject>(this));
    return code;
}

int M2MRemotableObject::readObjectRow(long id, bool discoverable) {
    const std::string statement =
        "SELECT O.ID AS ID, O.TYPE AS TYPE, O.PHPCLASS AS PHPCLASS, O.OPTIONALP AS OPTIONALS, O.ENABLE_FLAG AS "
        "ENABLE_FLAG, O.NAME AS NAME, O.RENDERING_ID AS RENDERING_ID, O.CURRENT_VALUE AS CURRENT_VALUE, P.IS_COMPLEX "
        "AS "
        "IS_COMPLEX FROM KOVAD_OBJECT AS O JOIN KOVA_WEB_PHPCLASS AS P ON P.CLASSNAME=O.PHPCLASS WHERE O.ID=" +
        quoted(id) + " AND " + (discoverable ? " O.IS_DISCOVERABLE='1' " : " O.IS_REMOTABLE='1' ") + ";\n";
    const auto answer = libenvdb::query(statement, {connectUnit, queryUnit, ""});
    if (!answer) return result::dbRequestFailed;
    const auto* row = libenvdb::first_row(*answer);
    if (row == nullptr) {
        error(
            "m2mremotableobject->readFromDB error retrieving information from DB: not found object with this query "
            "<%s>",
            statement.c_str());
        return result::dbRequestFailed;
    }
    if (!libenvdb::has_value(*row, "ID")) {
        error("m2mremotableobject->readFromDB error retrieving information of the sql result");
        return result::dbRequestFailed;
    }
    setID(libenvdb::number_in(*row, "ID"));
    setType(libenvdb::text_in(*row, "TYPE"));
    setPhpClass(libenvdb::text_in(*row, "PHPCLASS"));
    setOptional(libenvdb::text_in(*row, "OPTIONALS"));
    setEnable(libenvdb::has_value(*row, "ENABLE_FLAG"));  // whatever it holds: only NULL disables
    setRendering(libenvdb::number_in(*row, "RENDERING_ID"));
    setName(libenvdb::text_in(*row, "NAME"));
    setCurrentValue(libenvdb::text_in(*row, "CURRENT_VALUE"));
    const std::string category = getOption("category");
    if (!category.empty()) setCategory(to_number(category));
    setComplex(libenvdb::number_in(*row, "IS_COMPLEX") != 0);
    return result::ok;
}

int M2MRemotableObject::readActions() {
    const auto answer = libenvdb::query(
        "SELECT T.ALLOWED_ACTIONS AS ALLOWED_ACTIONS FROM KOVAD_OBJECT_TYPES AS T WHERE T.TYPE=" + quoted(getType()) +
            ";\n",
        {connectUnit, queryUnit, ""});
    if (!answer) return result::dbRequestFailed;
    for (const auto& [index, row] : answer->rows) setActionList(libenvdb::text_in(row, "ALLOWED_ACTIONS"));
    return result::ok;
}

int M2MRemotableObject::readChildren() {
    const auto answer = libenvdb::query(
        "SELECT R.CHILDOBJ_ID AS CHILDOBJ_ID, R.OPTIONAL AS OPTIONAL FROM KOVAD_OBJECT_RELATION AS R WHERE "
        "R.PARENTOBJ_ID=" +
            quoted(getID()) + " AND R.OPTIONAL LIKE '%%" + elementTag + "%%';\n",
        {connectUnit, queryUnit, ""});
    if (!answer) return result::dbRequestFailed;
    std::string tag;
    for (const auto& [index, row] : answer->rows) {
        const bool tooDeep = being_read().size() >= deepestNesting;
        const Pointer child = tooDeep ? nullptr : getNewRemotableObject(libenvdb::number_in(row, "CHILDOBJ_ID"), true);
        if (!child) continue;
        tag = extract_element_tag(libenvdb::text_in(row, "OPTIONAL"), tag);
        child->setTag(tag);
        child->setParentObjectID(getID());
        setElementChildren(child);
    }
    return result::ok;
}

// Collects the objects found and the IDs whose values are to be read. `named` turns an entry of the request into an ID
// and the names of the items asked for.
template <class Request, class Named>
std::unique_ptr<M2MRemotableObject::List> M2MRemotableObject::readValues(const Request* request, const Named& named) {
    if (request == nullptr) {
        error("m2mclientbrowser->readValuesFromDB error object list parameter is NULL");
        return nullptr;
    }
    auto objects = std::make_unique<List>();
    std::string ids;
    const auto add = [&ids](long id) { ids += (ids.empty() ? "" : ",") + std::to_string(id); };
    for (const auto& entry : *request) {
        const auto [id, items] = named(entry);
        const Pointer object = getNewRemotableObject(id);
        if (!object) continue;
        objects->push_back(object);
        if (object->isComplex() && object->elementChildren_) {
            for (const auto& [childId, child] : object->childrenNamed(items)) add(childId);
        } else {
            add(id);
        }
    }
    return refreshValues(std::move(objects), ids);
}

std::unique_ptr<M2MRemotableObject::List> M2MRemotableObject::readValuesFromDB(const std::list<long>* ids) {
    return readValues(ids, [](long id) { return std::pair<long, const ItemNames*>(id, nullptr); });
}

std::unique_ptr<M2MRemotableObject::List> M2MRemotableObject::readValuesFromDB(const ItemNamesById* objects) {
    return readValues(objects,
                      [](const auto& entry) { return std::pair<long, const ItemNames*>(entry.first, &entry.second); });
}

std::unique_ptr<M2MRemotableObject::List> M2MRemotableObject::refreshValues(std::unique_ptr<List> objects,
                                                                            const std::string& ids) {
    const auto answer =
        libenvdb::query("SELECT ID, CURRENT_VALUE FROM KOVAD_OBJECT WHERE ID IN (" + ids + ");\n",
                        {"m2mclientbrowser->readValuesFromDB", "m2mremotableobject->readValuesFromDB", ""});
    if (!answer) return nullptr;
    for (const auto& [index, row] : answer->rows) {
        const auto found = cachedObjectList.find(libenvdb::number_in(row, "ID"));
        if (found != cachedObjectList.end()) found->second->setCurrentValue(libenvdb::text_in(row, "CURRENT_VALUE"));
    }
    return objects->empty() ? nullptr : std::move(objects);
}

// --- JSON ----------------------------------------------------------------------------------------------------------

// The children that are asked for: those named, or all when no names are given.
M2MRemotableObject::Children M2MRemotableObject::childrenNamed(const ItemNames* items) const {
    if (!isComplex() || !elementChildren_) return {};
    if (items == nullptr || items->empty()) return *elementChildren_;
    Children named;
    for (const auto& [id, child] : *elementChildren_)
        if (std::find(items->begin(), items->end(), child->getName()) != items->end()) named.emplace(id, child);
    return named;
}

json_t* M2MRemotableObject::encodeJSON() const {
    constexpr const char* unit = "m2mremotableobject->encodeJSON";
    Json object(M2MKovadObject::encodeJSON());
    if (actionList_) {
        Json actions(json_array());
        for (const std::string& action : *actionList_)
            if (json_array_append_new(actions.get(), json_text(action)) != 0)
                error("m2mremotableobject->encodeJSON error adding tag <%s> to allowed action JSON array",
                      action.c_str());
        if (!add_member(object.get(), "allowed_actions", actions.release(), unit)) return object.release();
    }
    if (rendering_ && rendering_->getID() >= 0 &&
        !add_member(object.get(), "allowed_values", rendering_->encodeJSON(), unit))
        return object.release();
    if (!add_member(object.get(), "name", json_text(name_), unit) ||
        !add_member(object.get(), "current_value", json_text(currentValue_), unit))
        return object.release();
    if (category_ && category_->getID() >= 0 && !add_member(object.get(), "category", category_->encodeJSON(), unit))
        return object.release();
    if (isComplex() && elementChildren_) {
        Json items(json_array());
        for (const auto& [id, child] : *elementChildren_)
            if (json_array_append_new(items.get(), child->encodeJSON()) != 0)
                error("m2mremotableobject->encodeJSON error adding tag <%s> to items JSON array",
                      child->getName().c_str());
        add_member(object.get(), "items", items.release(), unit);
    }
    return object.release();
}

json_t* M2MRemotableObject::encodeJSONWithValueOnly(const ItemNames* items) const {
    constexpr const char* unit = "m2mremotableobject->encodeJSONWithValueOnly";
    Json object(M2MKovadObject::encodeJSON());
    if (!add_member(object.get(), "current_value", json_text(currentValue_), unit) ||
        !add_member(object.get(), "name", json_text(name_), unit))
        return object.release();
    if (isComplex() && elementChildren_) {
        Json children(json_array());
        for (const auto& [id, child] : childrenNamed(items))
            if (json_array_append_new(children.get(), child->encodeJSONWithValueOnly()) != 0)
                error("m2mremotableobject->encodeJSONWithValueOnly error adding tag <%s> to items JSON array",
                      child->getName().c_str());
        add_member(object.get(), "items", children.release(), unit);
    }
    return object.release();
}

// --- Actions -------------------------------------------------------------------------------------------------------

long M2MRemotableObject::actionTarget(const std::string& itemName) const {
    if (isComplex() && elementChildren_)
        for (const auto& [id, child] : *elementChildren_)
            if (child->getName() == itemName) return child->getID();
    return getID();
}

int M2MRemotableObject::performAction(const std::string& action, const std::string& actionValue,
                                      const std::string& itemName, const std::string& sessionToken,
                                      const std::string& /*ipAddress*/) const {
    if (!isRegistered()) {
        error("m2mclientbrowser->performAction( <%s> ) error the object <%ld> is not registered!", action.c_str(),
              getID());
        return result::nothingDone;
    }
    const auto request = libenvcore::make_core_request("SERVICE_RUNONELEMENT");
    if (!request) {
        error("m2mclientbrowser->performAction( <%s> ) error creating the request to velk server!", action.c_str());
        return result::coreUnreachable;
    }
    if (request->get_last_error() != nullptr) {
        error("m2mclientbrowser->performAction( <%s> ) error creating the request to velk server: %s", action.c_str(),
              request->get_last_error());
        return result::coreUnreachable;
    }
    const std::string target = std::to_string(actionTarget(itemName));
    request->compose_runonelement(sessionToken.c_str(), target.c_str(), action.c_str(), actionValue.c_str(), nullptr,
                                  nullptr, nullptr, "M2MCLIENT");
    if (request->run() < 0)
        error("m2mclientbrowser->performAction( <%s> ) error contacting velk server: %s", action.c_str(),
              request->get_last_error());
    return request->get_coreserviceresponsestatus();
}

// --- Attributes ----------------------------------------------------------------------------------------------------

void M2MRemotableObject::setCategory(long id) {
    if (id >= 0) category_ = M2MObjectCategory::getNewObjectCategory(id);
}

void M2MRemotableObject::setRendering(long id) {
    if (id >= 0) rendering_ = M2MRendering::getNewRendering(id);
}

void M2MRemotableObject::setActionList(const std::vector<std::string>* actions) {
    actionList_ = actions == nullptr ? nullptr : std::make_unique<std::vector<std::string>>(*actions);
}

void M2MRemotableObject::setActionList(const std::string& text) {
    std::vector<std::string> actions;
    tokenize(text, actions, "|");
    setActionList(&actions);
}

void M2MRemotableObject::setElementChildren(const Children* children) {
    elementChildren_ = children == nullptr ? nullptr : std::make_unique<Children>(*children);
}

void M2MRemotableObject::setElementChildren(const Pointer& child) {
    if (!child || child->levelsBelow_ + 1 >= deepestNesting) return;
    const long elements = elementsBelow_ + 1 + child->elementsBelow_;
    if (elements > mostElements) return;
    if (!elementChildren_) elementChildren_ = std::make_unique<Children>();
    if (!elementChildren_->emplace(child->getID(), child).second) return;
    levelsBelow_ = std::max(levelsBelow_, child->levelsBelow_ + 1);
    elementsBelow_ = elements;
}

std::list<long> M2MRemotableObject::getElementChildrenIDList() const {
    std::list<long> ids;
    if (elementChildren_)
        for (const auto& [id, child] : *elementChildren_) ids.push_back(id);
    return ids;
}
