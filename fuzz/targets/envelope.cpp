#include "datagramcheck.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::text_of(data, size);
    fuzz::check_datagram<M2MDatagram>(text);
    fuzz::check_datagram<M2MRequestDatagram>(text);
    return 0;
}
