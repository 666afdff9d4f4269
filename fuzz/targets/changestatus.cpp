#include "m2m/datagrams/changestatus.h"

#include "datagramcheck.h"

// Not written: that would read the objects' values from the database.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::text_of(data, size);
    const M2MChangeStatusRequestDatagram datagram(text);
    const M2MChangeStatusRequestDatagram copy(&datagram);
    fuzz::require_same_envelope(datagram, copy);
    fuzz::require_same_envelope(datagram, M2MDatagram(text));
    const auto* ids = datagram.getObjectIDList();
    const auto* copied = copy.getObjectIDList();
    fuzz::require((ids == nullptr) == (copied == nullptr) && (ids == nullptr || *ids == *copied), "IDs are copied");
    return 0;
}
