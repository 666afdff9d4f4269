#include "fuzztarget.h"
#include "model/m2mkovadobject.h"

namespace {

bool can_be_stored(const std::string& text) {
    return !text.empty() && text.find_first_of("|=") == std::string::npos;
}

}  // namespace

// The first line is a key, the second a value, the rest the options text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string options = fuzz::bytes_of(data, size);
    const std::string key = fuzz::take_line(options);
    const std::string value = fuzz::take_line(options);
    M2MKovadObject object;
    object.setOptional(options);
    const std::string before = object.getOption(neighbourIdOption);
    object.getOption(key);
    object.setOption(key, value);
    if (!can_be_stored(key) || !can_be_stored(value)) return 0;
    fuzz::require(object.getOption(key) == value, "an option that was set is found");
    if (key != neighbourIdOption)
        fuzz::require(object.getOption(neighbourIdOption) == before, "setting an option leaves the others alone");
    return 0;
}
