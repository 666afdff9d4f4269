#include "m2m/datagrams/attach.h"

#include "cbase/jsontext.h"
#include "m2m/datagrams/datagramreader.h"

namespace {
constexpr const char* encodeUnit = "m2mattachrequestdatagram->encodeJSON";
}

M2MAttachRequestDatagram::M2MAttachRequestDatagram(const M2MAttachRequestDatagram* other) : M2MRequestDatagram(other) {
    if (other == nullptr) return;
    clientTag_ = other->clientTag_;
    username_ = other->username_;
    password_ = other->password_;
    productorTagID_ = other->productorTagID_;
    softwareVersion_ = other->softwareVersion_;
    protocolVersion_ = other->protocolVersion_;
    ipAddress_ = other->ipAddress_;
    port_ = other->port_;
    setOptions(other->getOptions());
    communicationMode_ = other->communicationMode_;
}

M2MAttachRequestDatagram::M2MAttachRequestDatagram(const std::string& json)
    : M2MRequestDatagram(json), options_(nullptr), communicationMode_(M2MCommunicationMode::unset) {
    const DatagramReader reader(json, "m2mattachrequestdatagram->M2MAttachRequestDatagram( string )");
    if (!reader.load(JSON_DECODE_ANY, DatagramReader::LoadText::plain)) return;
    reader.readText("clienttag", clientTag_);
    reader.readText("username", username_);
    reader.readText("password", password_);
    reader.readText("manufacturertag", productorTagID_);
    reader.readText("softwareversion", softwareVersion_);
    reader.readNumber("protocolversion", protocolVersion_);
    reader.readText("ipaddress", ipAddress_);
    reader.readNumber("ipport", port_);
    json_t* options = reader.member("options");
    if (json_is_object(options)) {
        const char* tag = nullptr;
        json_t* value = nullptr;
        json_object_foreach(options, tag, value) {
            if (json_is_string(value)) setOptionForTag(tag, json_string_value(value));
        }
    } else {
        reader.logBadTag("options");
    }
    int mode = 0;
    if (reader.readNumber("communication_mode", mode)) communicationMode_ = static_cast<M2MCommunicationMode>(mode);
}

json_t* M2MAttachRequestDatagram::encodeJSON() const {
    Json object(M2MRequestDatagram::encodeJSON());
    if (!object) return nullptr;
    const auto add = [&object](const char* key, json_t* value) {
        return add_member(object.get(), key, value, encodeUnit);
    };
    const bool added = add("clienttag", json_text(clientTag_)) && add("username", json_text(username_)) &&
                       add("password", json_text(password_)) && add("manufacturertag", json_text(productorTagID_)) &&
                       add("softwareversion", json_text(softwareVersion_)) &&
                       add("protocolversion", json_integer(protocolVersion_)) &&
                       add("ipaddress", json_text(ipAddress_)) && add("ipport", json_integer(port_));
    if (!added) return object.release();
    Json options(json_object());
    if (options_)
        for (const auto& [tag, value] : *options_) add_member(options.get(), tag.c_str(), json_text(value), encodeUnit);
    add("options", options.release());
    return object.release();
}

void M2MAttachRequestDatagram::setOptions(const Options* options) {
    options_ = options == nullptr ? nullptr : std::make_unique<Options>(*options);
}

std::string M2MAttachRequestDatagram::getOptionForTag(const std::string& tag) const {
    if (!options_) return {};
    const auto found = options_->find(tag);
    return found == options_->end() ? std::string() : found->second;
}

void M2MAttachRequestDatagram::setOptionForTag(const std::string& tag, const std::string& value) {
    if (options_) options_->emplace(tag, value);
}
