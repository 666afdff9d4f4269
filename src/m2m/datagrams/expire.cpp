#include "m2m/datagrams/expire.h"

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "m2m/datagrams/datagramreader.h"

namespace {
constexpr const char* parseUnit = "m2mexpirerequestdatagram->M2MExpireRequestDatagram( string )";
}

M2MExpireRequestDatagram::M2MExpireRequestDatagram(const std::string& source, const std::string& destination,
                                                   const std::string& type, const std::string& function,
                                                   const std::string& token, const std::string& messageID, int reason,
                                                   bool responseRequired)
    : M2MRequestDatagram(source, destination, type, function, token, messageID),
      reason_(reason),
      responseRequired_(responseRequired) {}

M2MExpireRequestDatagram::M2MExpireRequestDatagram(const M2MExpireRequestDatagram* other) {
    if (other != nullptr) *this = *other;
}

M2MExpireRequestDatagram::M2MExpireRequestDatagram(const std::string& json) : M2MRequestDatagram(json) {
    const DatagramReader reader(json, parseUnit);
    if (!reader.load(0, DatagramReader::LoadText::withReason)) return;
    const json_t* reason = reader.member("reason");
    if (json_is_string(reason) && json_string_length(reason) == 0) {
        reason_ = -1;
    } else {
        reader.readNumber("reason", reason_);
    }
    long required = 0;
    if (number_of(reader.member("answer_required"), required)) {
        responseRequired_ = required != 0;
    } else {
        error("%s error loading the JSON tag <%s>", parseUnit, "answer_required");
    }
}

json_t* M2MExpireRequestDatagram::encodeJSON() const {
    Json root(M2MRequestDatagram::encodeJSON());
    if (!root || !add_member(root.get(), "reason", json_integer(reason_), "m2mexpirerequestdatagram->encodeJSON"))
        return root.release();
    // The text of a failure names the change-status datagram, as it always did.
    add_member(root.get(), "answer_required", json_integer(responseRequired_ ? 1 : 0),
               "m2mchangestatusrequestdatagram->encodeJSON");
    return root.release();
}
