#include "gateway/callfromcoreparameters.h"

#include <memory>

namespace callfromcoreparametersnamespace {

namespace {

std::string text_of(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

}  // namespace

CallFromCoreParameters::CallFromCoreParameters(long objectId, const char* argument1, const char* action,
                                               const char* value, const char* argument4, const char* argument5)
    : objectId_(objectId),
      argument1_(text_of(argument1)),
      action_(text_of(action)),
      value_(text_of(value)),
      argument4_(text_of(argument4)),
      argument5_(text_of(argument5)) {}

CallFromCoreParameters* CallFromCoreParameters::clone() const {
    return std::make_unique<CallFromCoreParameters>(*this).release();
}

}  // namespace callfromcoreparametersnamespace
