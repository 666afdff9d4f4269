#include "cbase/jsontext.h"
#include "fuzztarget.h"
#include "model/m2mrendering.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    M2MRendering rendering;
    rendering.setOptionLabels(fuzz::bytes_of(data, size));
    const Json json(rendering.encodeJSON());
    const M2MRendering copy(&rendering);
    const Json jsonOfCopy(copy.encodeJSON());
    fuzz::require(!dump(json.get()).empty(), "a rendering can be written");
    fuzz::require(dump(json.get()) == dump(jsonOfCopy.get()), "a copy is written like its original");
    return 0;
}
