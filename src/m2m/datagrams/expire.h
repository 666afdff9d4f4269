// Expire: this controller tells a neighbour that its attachment is withdrawn.
#pragma once

#include <string>

#include "m2m/datagrams/datagram.h"

class M2MExpireRequestDatagram : public M2MRequestDatagram {
  public:
    M2MExpireRequestDatagram() = default;
    M2MExpireRequestDatagram(const std::string& source, const std::string& destination, const std::string& type,
                             const std::string& function, const std::string& token, const std::string& messageID,
                             int reason, bool responseRequired);
    explicit M2MExpireRequestDatagram(const M2MExpireRequestDatagram* other);
    explicit M2MExpireRequestDatagram(const std::string& json);

    json_t* encodeJSON() const;

    // Reason code; -1 when the received text is empty.
    int getReason() const { return reason_; }
    void setReason(int reason) { reason_ = reason; }
    bool getResponseRequired() const { return responseRequired_; }
    void setResponseRequired(bool required) { responseRequired_ = required; }

  private:
    int reason_ = 0;
    bool responseRequired_ = false;
};
