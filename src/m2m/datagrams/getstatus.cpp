#include "m2m/datagrams/getstatus.h"

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "m2m/datagrams/datagramreader.h"

namespace {

constexpr const char* parseUnit = "m2mgetstatusrequestdatagram->M2MGetStatusRequestDatagram( string )";
constexpr const char* objectUnit = "m2mgetstatusrequestdatagram->parseObjectJSON()";
constexpr const char* itemUnit = "m2mgetstatusrequestdatagram->parseItemJSON()";

template <class T>
std::unique_ptr<T> copy_of(const T* other) {
    return other == nullptr ? nullptr : std::make_unique<T>(*other);
}

}  // namespace

M2MGetStatusRequestDatagram::M2MGetStatusRequestDatagram(const M2MGetStatusRequestDatagram* other)
    : ObjectIdRequestDatagram(other) {
    if (other == nullptr) return;
    tags_ = copy_of(other->tags_.get());
}

M2MGetStatusRequestDatagram::M2MGetStatusRequestDatagram(const std::string& json) : ObjectIdRequestDatagram(json) {
    const DatagramReader reader(json, parseUnit);
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    const bool found = DatagramReader::forEachEntry(reader.member("objects"),
                                                    [&](const json_t* object) { parseObject(json, object); });
    if (!found) error("%s error loading the JSON tag <%s>", parseUnit, "objects");
}

void M2MGetStatusRequestDatagram::parseObject(const std::string& json, const json_t* object) {
    const DatagramReader reader(json, objectUnit);
    long id = 0;
    reader.readNumber(object, "id", id);
    if (id < 0) {
        error("%s error: parsed object ID <%ld> is invalid", objectUnit, id);
        return;
    }
    setObjectIDList(id);
    setObjectTagList(id, nullptr);
    const DatagramReader itemReader(json, itemUnit);
    const bool found = DatagramReader::forEachEntry(json_object_get(object, "items"), [&](const json_t* item) {
        std::string name;
        if (itemReader.readText(item, "name", name) && !name.empty()) setObjectTagList(id, name);
    });
    if (!found) reader.logBadTag("items");
}

void M2MGetStatusRequestDatagram::setObjectTagList(long id, const ItemNames* names) {
    if (!tags_) tags_ = std::make_unique<TagMap>();
    (*tags_)[id] = names == nullptr ? ItemNames() : *names;
}

void M2MGetStatusRequestDatagram::setObjectTagList(long id, const std::string& name) {
    if (!tags_) tags_ = std::make_unique<TagMap>();
    (*tags_)[id].push_back(name);
}

void M2MGetStatusRequestDatagram::setObjectTagList(const TagMap* tags) {
    tags_ = copy_of(tags);
}

M2MGetStatusResponseDatagram::M2MGetStatusResponseDatagram(const M2MGetStatusResponseDatagram* other)
    : M2MResponseDatagram(other) {
    if (other == nullptr) return;
    objects_ = copy_of(other->objects_.get());
    tags_ = copy_of(other->tags_.get());
}

void M2MGetStatusResponseDatagram::setObjectList(const M2MRemotableObject::List* objects) {
    objects_ = copy_of(objects);
}

void M2MGetStatusResponseDatagram::setObjectList(const M2MRemotableObject::Pointer& object) {
    if (!objects_) objects_ = std::make_unique<M2MRemotableObject::List>();
    objects_->push_back(object);
}

void M2MGetStatusResponseDatagram::setObjectTagList(const TagMap* tags) {
    tags_ = copy_of(tags);
}

json_t* M2MGetStatusResponseDatagram::encodeJSON() const {
    Json root(M2MResponseDatagram::encodeJSON());
    if (!root || !objects_) return root.release();
    Json array(json_array());
    for (const auto& object : *objects_) {
        if (!object) continue;
        const M2MRemotableObject::ItemNames* names = nullptr;
        if (tags_) {
            const auto found = tags_->find(object->getID());
            if (found != tags_->end()) names = &found->second;
        }
        if (json_array_append_new(array.get(), object->encodeJSONWithValueOnly(names)) != 0) {
            error("m2mgetstatusresponse->encodeJSON error adding object <%ld>", object->getID());
            return root.release();
        }
    }
    add_member(root.get(), "objects", array.release(), "m2mgetstatusresponsedatagram->encodeJSON");
    return root.release();
}
