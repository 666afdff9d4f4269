// The one check that all datagram classes go through: read, copy, write, and read the envelope again.
#pragma once

#include <string>

#include "cbase/jsontext.h"
#include "fuzztarget.h"
#include "m2m/datagrams/datagram.h"

namespace fuzz {

// `datagram` and `other` carry the same envelope.
void require_same_envelope(const M2MDatagram& datagram, const M2MDatagram& other);

// Reads `text` as a `Datagram`. Whatever it was, the object can be copied and written, copy and original are written
// alike, and what is written has the envelope that was read.
template <class Datagram>
void check_datagram(const std::string& text) {
    const Datagram datagram(text);
    const Datagram copy(&datagram);
    const Json json(datagram.encodeJSON());
    const Json jsonOfCopy(copy.encodeJSON());
    const std::string wire = dump(json.get());
    require(!wire.empty(), "a datagram can be written");
    require(wire == dump(jsonOfCopy.get()), "a copy is written like its original");
    require_same_envelope(datagram, M2MDatagram(wire));
}

}  // namespace fuzz
