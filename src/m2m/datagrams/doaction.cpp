#include "m2m/datagrams/doaction.h"

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "m2m/datagrams/datagramreader.h"

namespace {

constexpr const char* parseUnit = "m2mdoactionrequestdatagram->M2MDoActionRequestDatagram( string )";

// Writes one action onto the object entry and its empty item into `items`.
void encode_action(json_t* object, json_t* items, const std::string& tag, const std::string& action,
                   const std::string& value) {
    const auto add = [object](const char* key, const std::string& text) {
        if (json_object_set_new(object, key, json_text(text)) != 0)
            error("m2mdoactionrequestdatagram->encodeJSON error adding object tag <%s>", key);
    };
    add("name", tag);
    add("action", action);
    add("action_value", value);
    if (json_array_append_new(items, json_object()) != 0)
        error("m2mdoactionrequestdatagram->encodeJSON error adding object item <%s>", tag.c_str());
}

}  // namespace

M2MDoActionRequestDatagram::M2MDoActionRequestDatagram(const M2MDoActionRequestDatagram* other)
    : ObjectIdRequestDatagram(other) {
    if (other == nullptr) return;
    copy(tags_, other->tags_.get());
    copy(actions_, other->actions_.get());
    copy(values_, other->values_.get());
}

M2MDoActionRequestDatagram::M2MDoActionRequestDatagram(const std::string& json) : ObjectIdRequestDatagram(json) {
    const DatagramReader reader(json, parseUnit);
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    const bool found = DatagramReader::forEachEntry(reader.member("objects"),
                                                    [&](const json_t* object) { parseObject(reader, object); });
    if (!found) error("%s error loading the JSON tag <%s>", parseUnit, "objects");
}

void M2MDoActionRequestDatagram::parseObject(const DatagramReader& reader, const json_t* object) {
    long id = 0;
    reader.readNumber(object, "id", id);
    const bool found = DatagramReader::forEachEntry(json_object_get(object, "items"),
                                                    [&](const json_t* item) { parseItem(reader, id, item); });
    if (!found) reader.logBadTag("items");
}

void M2MDoActionRequestDatagram::parseItem(const DatagramReader& reader, long id, const json_t* item) {
    std::string name;
    std::string action;
    std::string value;
    reader.readText(item, "name", name);
    reader.readText(item, "action", action);
    reader.readText(item, "action_value", value);
    if (name.empty() || action.empty() || value.empty()) return;
    setObjectIDList(id);
    setObjectTagList(name);
    setActionList(action);
    setActionValueList(value);
}

json_t* M2MDoActionRequestDatagram::encodeJSON() const {
    Json root(M2MRequestDatagram::encodeJSON());
    if (!root || getObjectIDList() == nullptr || !tags_ || !actions_ || !values_) return root.release();
    Json objects(json_array());
    json_t* object = nullptr;  // the entry being filled, owned by the array
    long objectId = 0;
    auto tag = tags_->begin();
    auto action = actions_->begin();
    auto value = values_->begin();
    for (const long id : *getObjectIDList()) {
        if (tag == tags_->end() || action == actions_->end() || value == values_->end()) break;
        if (object == nullptr || id != objectId) {
            Json entry(json_object());
            object = entry.get();
            objectId = id;
            const bool made = json_object_set_new(object, "id", json_integer(id)) == 0 &&
                              json_object_set_new(object, "items", json_array()) == 0;
            if (!made || json_array_append_new(objects.get(), entry.release()) != 0) {
                error("m2mdoactionrequestdatagram->encodeJSON error adding object id <%ld>", id);
                break;
            }
        }
        encode_action(object, json_object_get(object, "items"), *tag++, *action++, *value++);
    }
    if (json_object_set_new(root.get(), "objects", objects.release()) != 0)
        error("m2mdoactionrequestdatagram->encodeJSON error adding object id <%s>", "objects");
    return root.release();
}

void M2MDoActionRequestDatagram::append(std::unique_ptr<Texts>& list, const std::string& text) {
    if (!list) list = std::make_unique<Texts>();
    list->push_back(text);
}

void M2MDoActionRequestDatagram::copy(std::unique_ptr<Texts>& list, const Texts* other) {
    list = other == nullptr ? nullptr : std::make_unique<Texts>(*other);
}
