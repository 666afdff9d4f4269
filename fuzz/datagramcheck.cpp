#include "datagramcheck.h"

namespace fuzz {

void require_same_envelope(const M2MDatagram& datagram, const M2MDatagram& other) {
    require(datagram.getType() == other.getType(), "the type survives writing and reading");
    require(datagram.getFunction() == other.getFunction(), "the function survives writing and reading");
    require(datagram.getSourceUID() == other.getSourceUID(), "the source survives writing and reading");
    require(datagram.getDestinationUID() == other.getDestinationUID(), "the target survives writing and reading");
    require(datagram.getToken() == other.getToken(), "the token survives writing and reading");
    require(datagram.getMessageID() == other.getMessageID(), "the message ID survives writing and reading");
}

}  // namespace fuzz
