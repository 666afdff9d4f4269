#include <cstdint>
#include <limits>

#include "fuzztarget.h"
#include "libenvdb/dbanswer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string payload = fuzz::bytes_of(data, size);
    std::string text;
    const auto id = libenvdb::parse_insert_id(payload, text);
    using Limits = std::numeric_limits<std::int32_t>;
    fuzz::require(!id || (*id >= Limits::min() && *id <= Limits::max()), "an ID stays within 32 bits");
    fuzz::require(payload.find(text) != std::string::npos, "the number's text is part of the payload");
    return 0;
}
