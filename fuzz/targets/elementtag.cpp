#include "fuzztarget.h"
#include "model/m2mremotableobject.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string optional = fuzz::bytes_of(data, size);
    const std::string previous = "previous";
    const std::string tag = extract_element_tag(optional, previous);
    fuzz::require(tag == previous || optional.find(tag) != std::string::npos, "a tag is part of the options text");
    fuzz::require(tag == previous || optional.find("tag_complex_element") != std::string::npos,
                  "a text that names no tag keeps the previous one");
    return 0;
}
