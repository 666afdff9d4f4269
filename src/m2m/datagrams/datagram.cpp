#include "m2m/datagrams/datagram.h"

#include "cbase/jsontext.h"
#include "m2m/datagrams/datagramreader.h"

M2MDatagram::M2MDatagram(const std::string& source, const std::string& destination, const std::string& type,
                         const std::string& function, const std::string& token, const std::string& messageID)
    : type_(type),
      function_(function),
      source_(source),
      destination_(destination),
      token_(token),
      messageID_(messageID) {}

M2MDatagram::M2MDatagram(const M2MDatagram* other) {
    if (other != nullptr) *this = *other;
}

M2MDatagram::M2MDatagram(const std::string& json) {
    // The name that these log lines begin with lacks a letter; whoever watches the log knows it like that.
    const DatagramReader reader(json, "m2datagram->M2MDatagram( string )");
    if (!reader.load(0, DatagramReader::LoadText::withReason)) return;
    reader.readText("type", type_);
    reader.readText("function", function_);
    reader.readText("source", source_);
    reader.readText("target", destination_);
    reader.readText("token", token_);
    reader.readText("msg_id", messageID_);
}

json_t* M2MDatagram::encodeJSON() const {
    constexpr const char* unit = "m2mdatagram->encodeJSON";
    Json object(json_object());
    const auto add = [&object](const char* key, const std::string& text) {
        return add_member(object.get(), key, json_text(text), unit);
    };
    static_cast<void>(add("type", type_) && add("function", function_) && add("source", source_) &&
                      add("target", destination_) && add("token", token_) && add("msg_id", messageID_));
    return object.release();
}

M2MResponseDatagram::M2MResponseDatagram(const std::string& source, const std::string& destination,
                                         const std::string& type, const std::string& function, const std::string& token,
                                         int resultCode, const std::string& messageID)
    : M2MDatagram(source, destination, type, function, token, messageID), resultCode_(resultCode) {}

M2MResponseDatagram::M2MResponseDatagram(const M2MResponseDatagram* other) {
    if (other != nullptr) *this = *other;
}

json_t* M2MResponseDatagram::encodeJSON() const {
    Json object(M2MDatagram::encodeJSON());
    if (object) add_member(object.get(), "result", json_integer(resultCode_), "m2mresponsedatagram->encodeJSON");
    return object.release();
}
