// Detach: a neighbour ends its relation with this controller, for a while or for good.
#pragma once

#include <string>

#include "m2m/datagrams/datagram.h"

class M2MDetachRequestDatagram : public M2MRequestDatagram {
  public:
    using M2MRequestDatagram::M2MRequestDatagram;
    M2MDetachRequestDatagram() = default;
    explicit M2MDetachRequestDatagram(const M2MDetachRequestDatagram* other);
    explicit M2MDetachRequestDatagram(const std::string& json);

    json_t* encodeJSON() const;

    // Whether all records of the neighbour are to be deleted and its runner is to end.
    bool getClearAll() const { return clearAll_; }
    void setClearAll(bool clearAll) { clearAll_ = clearAll; }

  private:
    bool clearAll_ = false;
};

// The envelope with "result".
class M2MDetachResponseDatagram : public M2MResponseDatagram {
  public:
    using M2MResponseDatagram::M2MResponseDatagram;
    M2MDetachResponseDatagram() = default;
    explicit M2MDetachResponseDatagram(const M2MDetachResponseDatagram* other) : M2MResponseDatagram(other) {}
};
