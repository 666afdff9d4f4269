#include "m2m/datagrams/doaction.h"

#include "datagramcheck.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::check_datagram<M2MDoActionRequestDatagram>(fuzz::text_of(data, size));
    return 0;
}
